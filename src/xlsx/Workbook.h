// Workbook engine: edits an existing .xlsx package in place.
//
// Only the parts that an edit touches are rewritten on save; every other part of the package
// (images, printer settings, themes, macros, custom XML) is kept byte for byte. Rows and
// columns are 1-based everywhere; sheet indices are 0-based (tab order).
//
// Every failure is an xlsx::Error with a message naming the file or the part. A refused edit
// (one the engine cannot carry out correctly) throws before anything is changed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace xlsx
{

namespace detail
{
struct BookImpl;
struct SheetImpl;
struct FormData;
} // namespace detail

// Every failure of the engine: unreadable or damaged packages, refused edits, bad arguments.
class Error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

enum class HAlign { General, Left, Center, Right };

// A rectangle of cells, 1-based and inclusive.
struct CellRange {
    int firstRow = 0;
    int firstCol = 0;
    int lastRow = 0;
    int lastCol = 0;
    friend bool operator==(const CellRange&, const CellRange&) = default;
};

// A snapshot of the rows 1..N of a sheet (cells, styles, row heights, merges, page breaks,
// conditional formats, validations, hyperlinks, pictures, notes, tables), taken before the sheet
// is filled and pasted again for every further page. Cheap to copy.
class PageForm
{
public:
    PageForm() = default;
    int rowCount() const;
    bool empty() const { return rowCount() == 0; }

private:
    friend class Worksheet;
    std::shared_ptr<const detail::FormData> data_;
};

class Worksheet
{
public:
    const std::string& name() const;
    std::size_t index() const; // 0-based position in tab order

    // Reading. cellText gives the stored value as text (shared, inline and formula strings,
    // numbers in shortest form, booleans as TRUE/FALSE); empty text for an empty cell.
    std::string cellText(int row, int col) const;
    std::optional<double> cellNumber(int row, int col) const;
    std::string cellFormula(int row, int col) const; // without the leading '='
    bool hasCell(int row, int col) const;

    // Writing a value keeps the cell's style; a new cell takes the row's or column's style.
    void setText(int row, int col, std::string_view utf8);
    void setNumber(int row, int col, double value);
    void clearValue(int row, int col);

    // Formatting: each derives a new cell format from the cell's current one.
    void setNumberFormat(int row, int col, std::string_view code); // "@", "#,##0", "yyyy/mm/dd"
    void setHorizontalAlignment(int row, int col, HAlign align);
    void setStrike(int row, int col, bool strike);
    void setFill(int row, int col, std::uint32_t rgb); // solid fill, 0xRRGGBB

    // Several changes of a cell's format in one step; what is left unset stays as the cell has it.
    struct FormatChange {
        std::string_view numberFormat; // empty: unchanged
        std::optional<HAlign> align;
        std::optional<bool> strike;
    };
    void setFormat(int row, int col, const FormatChange& change);

    // Reading the effective format of a cell (for checks and tests).
    std::string numberFormat(int row, int col) const; // "General" when none
    HAlign horizontalAlignment(int row, int col) const;
    bool strike(int row, int col) const;
    std::optional<std::uint32_t> fillRgb(int row, int col) const; // solid fill colour if any

    // The highest row holding a value (a formula or text included); 0 for an empty sheet.
    // Formatting alone does not count: some programs write formatted rows down to the last row.
    int lastUsedRow() const;
    std::optional<double> rowHeight(int row) const; // custom or stored height in points

    // Page forms: snapshot rows firstRow..lastRow (normally 1..page height) and insert a copy
    // at topRow with everything from topRow on shifted down (cells, merges, row heights,
    // breaks, validations, conditional formats, hyperlinks, pictures, notes, tables, formulas
    // on every sheet, defined names). Relative row references inside the copy move with it.
    // The snapshot refuses what would stop a page from being added below it (a pivot table,
    // a table across its end, 3-D references, numbers out of range), so that nothing has been
    // written yet; what stays on page 1 only (form controls, charts) goes into warnings().
    PageForm snapshotRows(int firstRow, int lastRow) const;
    void pasteForm(const PageForm& form, int topRow);
    // Insert count empty rows at row (everything from row on moves down). Pictures move and
    // size as their placement says; formatting pushed past the last row falls off, values never.
    void insertRows(int row, int count);

    // Writes the rows above row into the sheet's part now, compressed, and lets go of them: a long
    // sheet filled from top to bottom then needs memory for its last rows only. Afterwards those
    // rows can no longer be read or written, nor rows inserted above row (Error). A sheet that
    // holds formulas keeps its rows (they may still have to move); false then.
    bool writeOutRowsAbove(int row);

    // Manual page breaks: a break above row (row >= 2). Duplicates are ignored.
    void addRowBreakAbove(int row);
    std::vector<int> rowBreaksAbove() const; // the rows that start a new page, ascending

    std::vector<CellRange> mergedRanges() const;

    void setPrintArea(const CellRange& area);
    std::optional<CellRange> printArea() const;
    // The rightmost column of rows firstRow..lastRow that shows something on paper: a value, a
    // merged box, a border or a fill; 0 when nothing does.
    int usedWidth(int firstRow, int lastRow) const;

    // Scaling to fit: the pages wide and tall the sheet is printed on when it is set to fit (0: as
    // many as its length needs), nothing when it prints at a fixed scale.
    struct FitToPages {
        int wide = 1;
        int tall = 1;
    };
    std::optional<FitToPages> fitToPages() const;
    // Drops the rows the sheet repeats at the top of every printed sheet when they lie within rows
    // 1..lastRow (every copy of a page form there brings them along); title columns stay. True when
    // it dropped them.
    bool dropTitleRowsWithin(int lastRow);
    // A sheet set to fit its page, filled with copies of form over columns firstCol..lastCol: made
    // to print every copy on pages of its own at the scale the form alone is printed at. When the
    // width decides that scale, the sheet fits its width only; otherwise it prints at that scale.
    void fitEachCopyOfForm(const PageForm& form, int firstCol, int lastCol);

    // Rename the sheet, updating every reference to it. Throws Error for an invalid or
    // duplicate name (at most 31 characters, none of : \ / ? * [ ], unique ignoring case).
    void rename(std::string_view newName);

private:
    friend struct detail::BookImpl;
    explicit Worksheet(detail::SheetImpl* impl) : impl_(impl) {}
    detail::SheetImpl* impl_;
};

class Workbook
{
public:
    // Opens the package at path (read lazily; the file is not locked). Throws Error.
    static Workbook open(const std::filesystem::path& path);

    Workbook(Workbook&&) noexcept;
    Workbook& operator=(Workbook&&) noexcept;
    ~Workbook();

    const std::filesystem::path& path() const;
    std::vector<std::string> sheetNames() const; // tab order
    std::size_t sheetCount() const;
    Worksheet& sheet(std::string_view name); // throws Error when there is no such sheet
    Worksheet& sheet(std::size_t index);     // 0-based
    std::optional<std::size_t> findSheet(std::string_view name) const;

    // Hides every other sheet, drops their print areas and makes this one the active tab, so that
    // printing the workbook prints this sheet alone (a renderer prints a hidden sheet that has a print
    // area). Sheets that were very hidden stay so.
    void showOnlySheet(std::size_t index);

    // Things the user should know about the workbook (macros, external links, ...), in
    // Japanese, one sentence each.
    const std::vector<std::string>& warnings() const;

    // Checks the structure the engine is responsible for; throws Error naming the first fault.
    void validate() const;
    bool modified() const;

    // Validates, then writes the changed parts. save() replaces the file atomically; saveAs
    // writes a new file (the opened one stays as it was) and makes it the workbook's path.
    void save();
    void saveAs(const std::filesystem::path& path);

private:
    Workbook();
    std::unique_ptr<detail::BookImpl> impl_;
};

} // namespace xlsx
