// Reference rewriting inside formula text: row insertion, copying with an offset, sheet rename.
// Text the rewriter does not change comes back byte for byte.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace xlsx::detail
{

constexpr int kMaxRow = 1048576;
constexpr int kMaxCol = 16384;

// One reference part as found in a formula: a cell, a whole column (row 0) or a whole row
// (col 0).
struct RefPart {
    int row = 0;
    int col = 0;
    bool absRow = false;
    bool absCol = false;
};

// A reference with its sheet qualifier. sheet is empty for an unqualified reference.
struct Ref {
    std::string sheet;     // unquoted sheet name
    bool external = false; // [n]Sheet! : another workbook, never changed
    bool threeD = false;   // Sheet1:Sheet3!
    bool isRange = false;
    RefPart a, b; // b only for ranges
};

// Visitor: may change the reference in place; returns true when it did.
using RefVisitor = std::function<bool(Ref&)>;

// Walks every reference in formula; returns the rewritten text, or nullopt when nothing changed.
std::optional<std::string> rewriteFormula(std::string_view formula, const RefVisitor& visit);

// Same for a space-separated list of ranges (sqref). Unqualified.
std::optional<std::string> rewriteSqref(std::string_view sqref, const RefVisitor& visit);

// Inserting count rows at row top of sheet `target`; `own` is the sheet the text lives on
// (empty for defined names). A range reaching past the last row ends there; a reference pushed off
// the sheet becomes #REF! (and leaves a sqref, which may become empty). Sets *sawThreeD when a
// 3-D reference was seen.
std::optional<std::string> shiftForInsert(std::string_view formula, std::string_view own,
                                          std::string_view target, int top, int count,
                                          bool* sawThreeD = nullptr);
std::optional<std::string> shiftSqrefForInsert(std::string_view sqref, int top, int count);

// Copying a formula by rows/cols: relative parts move, $ parts stay; out of range gives #REF!.
std::optional<std::string> shiftForCopy(std::string_view formula, int rows, int cols);
std::optional<std::string> shiftSqrefForCopy(std::string_view sqref, int rows);

// Renaming a table in structured references (Table1[Column]).
std::optional<std::string> renameTableInFormula(std::string_view formula, std::string_view from,
                                                std::string_view to);

// Renaming a sheet in qualifiers.
std::optional<std::string> renameSheetInFormula(std::string_view formula, std::string_view from,
                                                std::string_view to);

// Sheet name as written in a qualifier: quoted unless it is a plain identifier.
std::string quoteSheetName(std::string_view name);
bool sameSheetName(std::string_view a, std::string_view b); // ASCII case-insensitive

std::string columnName(int col);
// "A1" / "$A$1" style cell reference parsing; returns false on anything else.
bool parseCellRef(std::string_view text, int& row, int& col);
std::string cellName(int row, int col);
bool parseRange(std::string_view text, int& r1, int& c1, int& r2, int& c2);

} // namespace xlsx::detail
