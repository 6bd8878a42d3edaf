#pragma once

#include <QString>
#include <functional>

class IniAccess;
class QAbstractButton;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QObject;
class QScreen;
class QWidget;

// The routines that work on controls.

// Fills a drop-down with items 1 to "MAX" of a remembered list.
void FillComboFromList(IniAccess& ini, QComboBox* combo, const QString& section);
// Appends the drop-down's text to the list; when it was new, reloads the drop-down and puts the
// text back.
void RememberComboText(IniAccess& ini, QComboBox* combo, const QString& section);
// Appends the value to the list; when it was new, reloads the drop-down and selects the last item
// equal to the value (none when there is none).
void RememberComboValue(IniAccess& ini, QComboBox* combo, const QString& section, const QString& value);

// The number check on a field: a rejected character is removed, the caret goes to the end.
bool CheckNumberBox(QLineEdit* field);
bool CheckNumberBox(QComboBox* field);

// True only when the box is ticked (not for the greyed state).
bool IsChecked(const QCheckBox* box);
// Enables or disables a field; an enabled field has the window background, a disabled one the
// button face.
void SetFieldEnabled(bool enabled, QWidget* field);
// With the mode "COLOR ON", enables or disables the field by the check box; any other mode does nothing.
void ApplyCheckColor(const QCheckBox* box, QWidget* field, const QString& mode);
// Calls act, in the context's thread, when the user picks an item: a click or Enter in the open
// list, or the arrow keys or the wheel on the closed box. Only then: QComboBox::activated also
// fires when typed text that matches an item is left by Tab, a click elsewhere or Enter, which is
// not a pick.
void OnListPicked(QComboBox* combo, QObject* context, std::function<void()> act);
// The open list of a drop-down that shows no item starts at its first item.
void OpenListAtTop(QComboBox* combo);
// Shows a screen modelessly; when it differs from the owner, it stays above the owner. The first
// time, it opens centred over the owner.
void ShowScreen(QWidget* screen, QWidget* owner);
// Moves a window that is not shown yet so that it is centred over the owner's window (over the
// screen when there is no owner), and wholly on the owner's screen.
void CentreOver(QWidget* window, const QWidget* owner);
// Makes a window no larger than its screen's free area (a laptop's included), as far as its
// smallest size allows.
void FitOnScreen(QWidget* window);
// Places a further window down and to the right of the previous one, so that both can be seen,
// whole on the previous one's screen.
void CascadeFrom(QWidget* window, const QWidget* previous);
