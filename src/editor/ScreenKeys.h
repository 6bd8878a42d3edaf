#pragma once

#include <Qt>

class QAbstractButton;
class QWidget;

// A function key that presses a screen's button, only while the button is enabled (and visible).
void BindFunctionKey(QWidget* screen, Qt::Key key, QAbstractButton* button);

// Widens every push button of a screen so that its whole caption shows in the screen's font.
void FitButtonsToCaptions(QWidget* screen);
