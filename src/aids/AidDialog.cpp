#include "AidDialog.h"

#include "ScreenKeys.h"

#include <QKeyEvent>
#include <QPushButton>

AidDialog::AidDialog(QWidget* parent) : QDialog(parent) {}

QPushButton* AidDialog::commandButton(const QString& caption, const QString& name, int key)
{
    auto* button = new QPushButton(caption, this);
    button->setObjectName(name);
    button->setAutoDefault(false);
    button->setDefault(false);
    if (key != 0)
        BindFunctionKey(this, Qt::Key(key), button);
    return button;
}

void AidDialog::keyPressEvent(QKeyEvent* event)
{
    // Enter is taken by the lists; it never closes the screen by itself.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}
