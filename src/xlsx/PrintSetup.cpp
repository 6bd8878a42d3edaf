// How a sheet prints: the width it uses, and its scaling when it is filled with copies of a page form.
#include "Internal.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace xlsx
{

using namespace detail;

namespace
{

// Width and height of a paper in points, by the spreadsheet's paper number (Letter when unknown).
std::pair<double, double> paperPoints(int paper)
{
    constexpr double mm = 72 / 25.4;
    switch (paper) {
    case 5:
        return {8.5 * 72, 14 * 72}; // Legal
    case 8:
        return {297 * mm, 420 * mm}; // A3
    case 9:
        return {210 * mm, 297 * mm}; // A4
    case 11:
        return {148 * mm, 210 * mm}; // A5
    case 12:
        return {257 * mm, 364 * mm}; // B4 (JIS)
    case 13:
        return {182 * mm, 257 * mm}; // B5 (JIS)
    default:
        return {8.5 * 72, 11 * 72}; // Letter
    }
}

// A column width in characters as points on paper: whole pixels of a 7-pixel digit plus padding.
double columnPoints(double chars)
{
    return chars <= 0 ? 0 : std::trunc((256 * chars + std::trunc(128.0 / 7)) / 256 * 7) * 0.75;
}

} // namespace

int Worksheet::usedWidth(int firstRow, int lastRow) const
{
    auto& s = loadedSheet(impl_);
    int last = 0;
    for (auto& row : s.rows)
        if (row.r >= firstRow && row.r <= lastRow)
            for (auto it = row.cells.rbegin(); it != row.cells.rend() && it->col > last; ++it)
                if (it->holdsValue() || s.book->styles.showsOnPaper(it->style)) {
                    last = it->col;
                    break;
                }
    for (auto& m : s.merges)
        if (m.firstRow <= lastRow && m.lastRow >= firstRow)
            last = std::max(last, m.lastCol);
    return last;
}

std::optional<Worksheet::FitToPages> Worksheet::fitToPages() const
{
    auto& s = loadedSheet(impl_);
    auto root = s.doc.document_element();
    auto fit = childL(childL(root, "sheetPr"), "pageSetUpPr").attribute("fitToPage");
    if (!fit || !(std::strcmp(fit.value(), "1") == 0 || std::strcmp(fit.value(), "true") == 0))
        return std::nullopt;
    auto setup = childL(root, "pageSetup");
    return FitToPages{setup.attribute("fitToWidth").as_int(1), setup.attribute("fitToHeight").as_int(1)};
}

bool Worksheet::dropTitleRowsWithin(int lastRow)
{
    auto& s = loadedSheet(impl_);
    auto names = s.book->definedNames(false);
    for (auto n : names.children()) {
        if (std::strcmp(n.attribute("name").value(), "_xlnm.Print_Titles") != 0 ||
            !n.attribute("localSheetId") || n.attribute("localSheetId").as_uint() != s.index)
            continue;
        // the parts of the list ("$A:$B,$1:$3"), commas inside quoted sheet names left alone
        std::vector<std::string> kept;
        std::string text = n.text().get(), part;
        bool quoted = false, dropped = false;
        for (std::size_t i = 0; i <= text.size(); ++i) {
            if (i < text.size() && (text[i] != ',' || quoted)) {
                quoted = text[i] == '\'' ? !quoted : quoted;
                part += text[i];
                continue;
            }
            bool rowsWithin = false;
            rewriteFormula(part, [&](Ref& r) {
                rowsWithin = r.a.col == 0 && r.a.row >= 1 && (r.isRange ? r.b.row : r.a.row) <= lastRow;
                return false;
            });
            if (rowsWithin)
                dropped = true;
            else
                kept.push_back(part);
            part.clear();
        }
        if (!dropped)
            return false;
        std::string joined;
        for (auto& k : kept)
            joined += (joined.empty() ? "" : ",") + k;
        if (joined.empty())
            names.remove_child(n);
        else
            n.text().set(joined.c_str());
        s.book->wbDirty = true;
        return true;
    }
    return false;
}

void Worksheet::fitEachCopyOfForm(const PageForm& form, int firstCol, int lastCol)
{
    auto& s = loadedSheet(impl_);
    const auto fit = fitToPages();
    if (!fit || fit->tall <= 0 || !form.data_ || firstCol < 1 || lastCol < firstCol || lastCol > kMaxCol)
        return; // a fixed scale, or a fit to width alone: every copy already prints as the form does
    auto root = s.doc.document_element();
    auto setup = ensureChild(root, "pageSetup", kWorksheetOrder);
    auto [paperW, paperH] = paperPoints(setup.attribute("paperSize").as_int(1));
    if (std::strcmp(setup.attribute("orientation").value(), "landscape") == 0)
        std::swap(paperW, paperH);
    auto margins = childL(root, "pageMargins");
    auto inch = [&](const char* side, double fallback) {
        return margins.attribute(side).as_double(fallback) * 72;
    };
    const double printW = paperW - inch("left", 0.7) - inch("right", 0.7);
    const double printH = paperH - inch("top", 0.75) - inch("bottom", 0.75);
    // the form's height from its rows as taken, its width from the sheet's columns
    double height = 0;
    for (long long emu : form.data_->rowHeights)
        height += static_cast<double>(emu) / 12700;
    auto format = childL(root, "sheetFormatPr");
    const double defaultChars = format.attribute("defaultColWidth")
                                    ? format.attribute("defaultColWidth").as_double(8.43)
                                    : format.attribute("baseColWidth").as_double(8) + 0.43;
    std::vector<double> chars(static_cast<std::size_t>(lastCol - firstCol + 1), defaultChars);
    for (auto c : childL(root, "cols").children()) {
        const int from = std::max(c.attribute("min").as_int(0), firstCol),
                  to = std::min(c.attribute("max").as_int(0), lastCol);
        const bool hidden = c.attribute("hidden").as_bool(false);
        for (int k = from; k <= to; ++k)
            chars[static_cast<std::size_t>(k - firstCol)] =
                hidden ? 0 : c.attribute("width").as_double(defaultChars);
    }
    double width = 0;
    for (double w : chars)
        width += columnPoints(w);
    if (height <= 0 || width <= 0 || printW <= 0 || printH <= 0)
        return;
    const double byWidth = fit->wide > 0 ? printW * fit->wide / width : 1e9;
    const double byHeight = printH * fit->tall / height;
    // The heights are known exactly; the columns' width on paper depends on the fonts of the program
    // that prints, and comes out wider than the character widths say by up to half as much again.
    if (byHeight * 1.5 >= byWidth) {
        // the width decides (or may): fitting the width alone gives the form's scale, and every copy
        // starts on a sheet of its own at its page break
        auto a = setup.attribute("fitToHeight");
        (a ? a : setup.append_attribute("fitToHeight")).set_value(0);
    } else {
        // the height decides: the form's scale, fixed (a fit to a number of pages tall would pack the
        // copies across their page breaks)
        const int scale = std::clamp(static_cast<int>(std::floor(byHeight * 100)), 10, 100);
        childL(childL(root, "sheetPr"), "pageSetUpPr").attribute("fitToPage").set_value("0");
        auto a = setup.attribute("scale");
        (a ? a : setup.append_attribute("scale")).set_value(scale);
    }
    s.dirty = true;
}

} // namespace xlsx
