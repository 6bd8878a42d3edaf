#pragma once

#include <QString>

class PartsGrid;

// Item numbers of a parts table: the assembly's number, plus the line's position, plus the start
// number, minus one; at least three digits.

// The base of the numbering: the digits of the assembly before its last "-" (the whole assembly
// when it has no "-"), read as a number; 0 when there are none. "250-01" gives 250, "AB-7" 0,
// "12-34-5" 1234.
int AssemblyBase(const QString& assy);
// A whole number with at least three digits: 7 gives "007", 1234 stays "1234".
QString ThreeDigits(long long n);
// base + line + start - 1 in "000" form; leaving the 32-bit range is the overflow error.
QString ItemNumberText(int base, int line, int start);
// An item number as loaded from the database: a number is shown in "000" form, any other text as it is.
QString FormatStoredZno(const QString& zno);

// Renumbers every line of the grid: column 0 gets the line number ("廃止" for an abolished line,
// which still counts), column 1 the item number, in brackets when the line's bracket value is true.
void Renumber(PartsGrid& grid, const QString& assy, int start);

// The start number typed into the start number dialog.
enum class StartNumberResult { Ok, NotNumber, OutOfRange };
// Runs the common number check on the text (which removes one rejected character) and reads it as a
// whole number from 0 to 99.
StartNumberResult CheckStartNumber(QString& text, int& value);
