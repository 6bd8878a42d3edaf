// Helpers shared by the workbook engine's tests: test files, temporary folders, and filling a
// template with three pages the way the print run does.
#pragma once

#include "Workbook.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace xlsxtest
{

std::filesystem::path sourceDir();
std::filesystem::path dataFile(const std::string& name); // tests/data/xlsx/<name>
std::string readBytes(const std::filesystem::path& p);
void writeBytes(const std::filesystem::path& p, const std::string& bytes);

// A fresh folder under the build tree, removed when the object goes away.
class TempDir
{
public:
    explicit TempDir(const std::string& tag);
    ~TempDir();
    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// Every part of a package with its bytes, by name.
std::vector<std::pair<std::string, std::string>> zipParts(const std::filesystem::path& p);

struct Layout {
    std::string file;
    std::string sheet;
    int pageRows;
    int firstDetail;
    int lastDetail;
    int cols;
    bool headerBoxes; // B3/B4/H3/H4 header cells and merges
};
std::vector<Layout> templateLayouts();

struct ExpectedCell {
    int row, col;
    std::optional<std::string> text;
    std::optional<double> number;
    bool strike = false;
    std::optional<std::uint32_t> fill;
    std::string numFmt; // empty: not checked
    std::optional<xlsx::HAlign> align;
};

struct Expected {
    std::string sheet;
    int pages = 0;
    std::vector<ExpectedCell> cells;
    std::vector<xlsx::CellRange> merges;
    std::vector<int> breaks; // rows that start a page
    xlsx::CellRange printArea;
    std::vector<std::pair<int, double>> rowHeights;
    std::string toJson() const;
};

// Fills three pages into a copy of the layout's template (form pasted twice, cells written,
// breaks added, print area set, sheet renamed) and saves it as out.
Expected fillThreePages(const Layout& layout, const std::filesystem::path& out);

// One part of a package; empty when it has none of that name.
std::string partOf(const std::filesystem::path& file, const std::string& name);
// Replaces one part of a package, or text inside it (the file is changed in place).
void replacePart(const std::filesystem::path& file, const std::string& part, const std::string& data);
void patchPart(const std::filesystem::path& file, const std::string& part, const std::string& from,
               const std::string& to);
// A copy of a workbook at copy with text inside one of its parts replaced; returns copy.
std::filesystem::path patchedCopy(const std::filesystem::path& file, const std::filesystem::path& copy,
                                  const std::string& part, const std::string& from, const std::string& to);

// Workbooks other programs made (tests/data/xlsx/real, sources in SOURCES.txt) and what the print
// run's use of the engine gives on each: pages filled, or a refusal before any change.
struct RealWorkbook {
    std::string file;
    int formRows;        // the page form: rows 1..formRows of the first worksheet
    std::string refusal; // empty: fills and saves; else words the refusal must contain
};
std::vector<RealWorkbook> realWorkbooks();
std::filesystem::path realFile(const std::string& name);

// The print run on any workbook: the first worksheet's form taken, `pages` pages each with texts
// and numbers in its rows 1..10 (the form pasted below for every further page), page breaks,
// print area, save as out. Returns the sheet's name; an engine error propagates, and the test
// checks that nothing had changed when it came.
struct FillResult {
    std::string sheet;
    std::string error;
    bool changedBeforeError = false;
};
FillResult fillPages(const std::filesystem::path& in, const std::filesystem::path& out, int formRows,
                     int pages);
// What page p's row i (1..10) holds after fillPages: column 1 text, column 2 number.
std::string pageText(int page, int row);
double pageNumber(int page, int row);

} // namespace xlsxtest
