#pragma once

#include "Int16.h"

#include <QString>
#include <QStringList>

struct AppContext;
class IniAccess;

// Small rules shared by the screens. Flags follow the old convention: true is -1.
constexpr int kTrue = -1;
constexpr int kFalse = 0;

// Remembered lists: a settings section with "MAX" and the items "1" to MAX, only ever appended to.
// Returns "OK" when the value is listed already (nothing written), "REWRITE" when it was appended
// ("MAX" is written first, then the item). A missing or non-numeric "MAX" is a run-time error.
// A value the settings file cannot hold (no Shift-JIS form) is refused with a box: "OK", nothing written.
QString AddToList(IniAccess& ini, const QString& section, const QString& value);
// Items 1 to "MAX" of a list, in order. A missing or non-numeric "MAX" is a run-time error.
QStringList ReadList(IniAccess& ini, const QString& section);
// The strict integer reading of a settings value ("MAX", "INDEX"): a run-time error when it is not one.
int StrictInt(const QString& text);
// A settings value read ("GET") and read strictly; the run-time error names the file, the section,
// the key and the value in its cause.
int StrictIntSetting(IniAccess& ini, const QString& section, const QString& key);
// The lenient number reading: the numeric prefix of the text (sign, digits, decimal point, exponent;
// 0 when there is none), rounded to the nearest integer with halves to even.
long long LenientInt(const QString& text);

// The number check: looks at the characters from the first and stops at the first rejected one
// (a "-" anywhere but first; blank and "!" to ","; "/"; anything above "9"). Returns true when one
// was rejected, and removes that one character from the text.
bool CheckNumberText(QString& text);

// The characters "0" to "9" of a text, in order.
QString DigitsOnly(const QString& text);
// DigitsOnly read as a 32-bit integer, 0 when there are none; above 2147483647 is an overflow.
int DigitsValue(const QString& text);

// The order lines are read in: by the number an item number's digits make (as DigitsValue reads it,
// so "(252)" lies between 251 and 253 and 1000 comes after 999; numbers past 32 bits still compare
// as numbers), rows of equal number keeping the order the database gave them. With groups (the
// makers of a list paged per maker, as the database ordered them), each run of rows whose group
// compares equal (case ignored, ASCII letters only when asciiCase) stays where it is and is ordered
// within. Returns the positions of the given rows in their new order.
QList<int> ItemNumberOrder(const QStringList& itemNumbers, const QStringList& groups = {},
                           bool asciiCase = false);

// A number as plain decimal text, never in exponent form: 1000000, 2.5, 0.0001 (the shortest digits
// that read back as the same number).
QString DecimalText(double value);

// True when the flag is anything but true (-1).
bool NotTrue(int flag);
// "1" when the flag is true (-1), otherwise "0".
QString FlagText(int flag);
// The last row or column of a block: the count text's integer value + start - 1, in 16 bits.
Int16 LastIndex(Int16 start, const QString& countText);

// How the yes/no values of the grid and the database read: "1", "-1", "True" (any case) and any
// non-zero number are true; "", "0", "False" are false.
bool TextIsTrue(const QString& text);

// Enables or disables all buttons of the main menu (when the program has one): a screen opened from
// the menu calls it with false while it works and with true when it closes.
void EnableMenuButtons(const AppContext& ctx, bool enabled);
