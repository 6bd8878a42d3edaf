#include "ScreenKeys.h"

#include <QAbstractButton>
#include <QKeySequence>
#include <QShortcut>

void BindFunctionKey(QWidget* screen, Qt::Key key, QAbstractButton* button)
{
    auto* shortcut = new QShortcut(QKeySequence(key), screen);
    shortcut->setContext(Qt::WindowShortcut);
    QObject::connect(shortcut, &QShortcut::activated, button, [button] {
        if (button->isEnabled() && button->isVisible())
            button->click();
    });
}
