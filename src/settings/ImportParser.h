#pragma once

#include "QuantityNotation.h"
#include "SettingsRecord.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

// Read access to the cells of one sheet, 1-based rows and columns.
class SheetCells
{
public:
    virtual ~SheetCells() = default;
    virtual QString text(int row, int col) const = 0;
    // The cell's font is struck through (the printed list marks abolished lines so).
    virtual bool struck(int row, int col) const = 0;
    // The highest row holding any cell; 0 for an empty sheet.
    virtual int lastRow() const = 0;
};

// One line of a parts table read back from a printed page.
struct ImportLine {
    int sheetRow = 0; // the drawing-number item's row, for messages
    QString zno;      // item number without brackets
    bool kakko = false;
    QString hinmei;
    QString zaishitu;
    QString biko;
    QuantityPair quantity;
    QString tanka; // digits as written (no thousands separators)
    QString kingk;
    QString maker;
    bool haishi = false;
};

// One parts table: the header of its first page and the lines of all its pages.
struct ImportTable {
    QString dwgNo;
    QString assy;
    QString name;
    QString date; // "YYYY/MM/DD"
    QString designer;
    QList<int> pages; // page numbers, 1-based
    QList<ImportLine> lines;
};

struct ImportPlan {
    int pageStride = 0;
    int pageCount = 0;
    QList<ImportTable> tables;
    QStringList notes; // pages skipped, cells that could not be read
    int lineCount() const;
};

// Reads the sheet page by page. A page is INT_PAGEMAX rows (the height the print run gives one page);
// header cells are the ticked header items' row + page top - 1, detail cells the ticked detail
// columns from each item's first to last detail row (either direction). A page without a drawing
// number is skipped; pages with the same drawing number and assembly make one table, in sheet
// order; a line whose ticked cells are all empty is not a line. Dates that cannot be read become
// today. Throws RuntimeError for a page height that is not a positive number.
ImportPlan ParseImportSheet(const SettingsRecord& settings, const SheetCells& cells, const QDate& today);

// A printed date back in the form "YYYY/MM/DD": "2026/11/21", "2026-11-21", "2026.11.21",
// "20261121" or a spreadsheet date serial. Empty text when it cannot be read.
QString ReadDateText(const QString& text);
// A printed amount back as digits: thousands separators and blanks removed; empty when not a number.
QString ReadNumberText(const QString& text);
