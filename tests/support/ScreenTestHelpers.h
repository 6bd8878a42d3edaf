#pragma once

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QTimer>
#include <QtTest>
#include <functional>

// Finds a control of a screen by its object name; the test fails when it is missing.
template <typename T> T* control(QWidget* screen, const char* name)
{
    T* w = screen->findChild<T*>(QString::fromLatin1(name));
    if (!w)
        qFatal("control %s not found", name);
    return w;
}

inline void click(QWidget* screen, const char* name)
{
    control<QAbstractButton>(screen, name)->click();
}

inline void typeInto(QWidget* screen, const char* name, const QString& text)
{
    QWidget* w = control<QWidget>(screen, name);
    if (auto* combo = qobject_cast<QComboBox*>(w))
        combo->setEditText(text);
    else if (auto* field = qobject_cast<QLineEdit*>(w))
        field->setText(text);
    else
        qFatal("control %s takes no text", name);
}

// Shows a screen and makes it the active window, so that the focus and the function keys work.
inline bool showActive(QWidget* screen)
{
    screen->show();
    screen->activateWindow();
    return QTest::qWaitForWindowActive(screen);
}

// The text of a drop-down or a text field.
inline QString textOf(QWidget* screen, const char* name)
{
    QWidget* w = control<QWidget>(screen, name);
    if (auto* combo = qobject_cast<QComboBox*>(w))
        return combo->currentText();
    return control<QLineEdit>(screen, name)->text();
}

// The entries of a drop-down, joined with blanks.
inline QString itemsOf(QWidget* screen, const char* name)
{
    QStringList out;
    auto* c = control<QComboBox>(screen, name);
    for (int i = 0; i < c->count(); ++i)
        out << c->itemText(i);
    return out.join(u' ');
}

// Deletes a screen that is still there, the screens of type T it opened first.
template <typename T> void deleteScreen(QWidget* screen)
{
    if (!screen)
        return;
    for (T* child : screen->findChildren<T*>())
        delete child;
    delete screen;
}

// Acts on the modal screen of type T as soon as it is shown (the command that opens it waits in
// its exec()); a screen a failed check left open is closed, so that the test ends.
template <typename T> void whenModal(std::function<void(T*)> act, int tries = 2000)
{
    QTimer::singleShot(5, [act, tries] {
        if (auto* screen = qobject_cast<T*>(QApplication::activeModalWidget())) {
            // Function keys are window shortcuts: they reach a screen only once it is the active
            // window, which the offscreen platform does not promise by the time it is shown.
            QApplication::setActiveWindow(screen);
            act(screen);
            if (screen->isVisible())
                screen->reject();
        } else if (tries > 0) {
            whenModal<T>(act, tries - 1);
        } else {
            qWarning("modal screen not shown");
        }
    });
}
