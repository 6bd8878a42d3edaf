#include "ScreenKeys.h"

#include <QAbstractButton>
#include <QKeySequence>
#include <QPushButton>
#include <QShortcut>
#include <algorithm>

void BindFunctionKey(QWidget* screen, Qt::Key key, QAbstractButton* button)
{
    auto* shortcut = new QShortcut(QKeySequence(key), screen);
    shortcut->setContext(Qt::WindowShortcut);
    QObject::connect(shortcut, &QShortcut::activated, button, [button] {
        if (button->isEnabled() && button->isVisible())
            button->click();
    });
}

void FitButtonsToCaptions(QWidget* screen)
{
    for (QPushButton* b : screen->findChildren<QPushButton*>()) {
        const int needed =
            b->fontMetrics().horizontalAdvance(b->text()) + 2 * b->fontMetrics().averageCharWidth() + 12;
        b->setMinimumWidth(std::max(b->minimumWidth(), needed));
    }
}
