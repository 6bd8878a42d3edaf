#pragma once

#include "Int16.h"
#include "ListTable.h"
#include "SettingsRecord.h"

#include <QString>
#include <QStringList>
#include <functional>

// The page layout of a print run as plain logic: a list of rows and the settings go in, page
// copies, page breaks and cell writes come out through a LayoutTarget. The workbook engine is one
// target; tests record what is written.

enum class HAlign { Keep, Left, Center, Right };
// The alignment words of the cell writers: "左", "中", "右"; anything else keeps the template's.
HAlign AlignmentFromWord(const QString& word);

struct CellWrite {
    int row = 0;
    int column = 0;
    QString value;
    bool number = false;    // value holds a number to be stored as one
    double numberValue = 0; // that number
    QString numberFormat;   // "" leaves the cell's number format as it is
    HAlign align = HAlign::Keep;
    bool strike = false;
};

class LayoutTarget
{
public:
    virtual ~LayoutTarget() = default;
    // Copies rows 1..rows of the page form and inserts them at row top, shifting what is below down.
    virtual void pastePageForm(int top, int rows) = 0;
    // A manual page break above the row.
    virtual void pageBreakAbove(int row) = 0;
    // The cell's value may point into the list; it is valid only during the call.
    virtual void write(const CellWrite& cell) = 0;
    // The grey fill (red, green and blue 128) of an abolished line's item cell.
    virtual void fillGrey(int row, int column) = 0;
};

struct HeaderValues {
    QString dwgNo;
    QString name;
    QString assy;
    QString date;
    QString designer;
};

struct LayoutResult {
    int pages = 0;
    int pageMax = 0; // INT_PAGEMAX as the loop read it
    // What the loop skipped or cut, one line per item and cause, naming the setting, the page it
    // first happened on and how often: what the user reads beside the result.
    QStringList notes;
};

// The longest text a cell holds; a longer one is written cut to it, with a note.
constexpr int kCellTextMax = 32767;

// The integer reading of a row or page setting: blanks around are allowed, the value is rounded
// half to even, an empty or non-numeric text is the type-mismatch error, beyond 16 bits overflow.
Int16 SettingInt(const QString& text);

// "R=2", "R/L×2", "計4", "3個"; two halves joined by one blank.
QString QuantityText(const QString& quantity1, const QString& quantity2, const QString& unit1,
                     const QString& unit2);

// Lays the list out page by page. Every step inside runs on its own: a step that fails (a column
// "AA", a row setting that is not a number, an engine error) is skipped, the loop goes on and the
// result's notes say what was left out. An overflow of the 16-bit page arithmetic (page tops past
// row 32,767, a setting beyond 16 bits) is no such step: it ends the layout with error 6, the
// cause naming the value and the page.
LayoutResult LayOutPages(const SettingsRecord& settings, const ListTable& list, const HeaderValues& header,
                         bool pagePerMaker, LayoutTarget& target,
                         const std::function<void(int page, int totalPages)>& progress = {});
