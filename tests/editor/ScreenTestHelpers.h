#pragma once

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QWidget>
#include <QtTest>

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
