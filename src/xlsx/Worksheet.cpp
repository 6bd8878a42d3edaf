// The worksheet's interface: reading and writing cells, formats, page breaks, print area, rename.
#include "Internal.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace xlsx
{

using namespace detail;

namespace
{

bool validUtf8(std::string_view s)
{
    std::size_t i = 0;
    while (i < s.size()) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        std::size_t n = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : 9;
        if (n == 9 || i + n >= s.size() + (n == 0 ? 1 : 0) || (n > 0 && i + n > s.size() - 1))
            return false;
        for (std::size_t k = 1; k <= n; ++k)
            if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80)
                return false;
        i += n + 1;
    }
    return true;
}

std::size_t utf16Length(std::string_view s)
{
    std::size_t n = 0;
    for (unsigned char c : s) {
        if ((c & 0xC0) != 0x80)
            ++n;
        if ((c & 0xF8) == 0xF0)
            ++n; // surrogate pair
    }
    return n;
}

} // namespace

namespace detail
{

SheetImpl& loadedSheet(SheetImpl* s)
{
    if (s->part.empty())
        throw Error("シート \"" + s->name + "\" はワークシートではないため編集できません。");
    s->ensureLoaded();
    return *s;
}

} // namespace detail

// ---------------------------------------------------------------------------------------------
// Worksheet

const std::string& Worksheet::name() const
{
    return impl_->name;
}
std::size_t Worksheet::index() const
{
    return impl_->index;
}

// A written value no longer matches the cell's cell/value metadata: those attributes go,
// and the sheet and the workbook's values are marked changed.
static void valueWritten(SheetImpl& s, Cell& c)
{
    if (c.x) {
        auto nx = std::make_shared<CellExtra>();
        for (auto& kv : c.x->attrs)
            if (kv.first != "cm" && kv.first != "vm")
                nx->attrs.push_back(kv);
        c.x = nx->attrs.empty() ? nullptr : nx;
    }
    s.dirty = true;
    s.book->valuesChanged = true;
}

std::string Worksheet::cellText(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    s.checkHeld(row);
    const Cell* c = s.findCell(row, col);
    return c ? detail::cellText(*s.book, *c) : std::string();
}

std::optional<double> Worksheet::cellNumber(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    s.checkHeld(row);
    const Cell* c = s.findCell(row, col);
    if (!c || !c->hasV || !(c->type == TNone || c->type == TBool))
        return std::nullopt;
    double v = 0;
    auto res = std::from_chars(c->v.data(), c->v.data() + c->v.size(), v);
    if (res.ec != std::errc())
        return std::nullopt;
    return v;
}

std::string Worksheet::cellFormula(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    s.checkHeld(row);
    const Cell* c = s.findCell(row, col);
    return c && c->hasFormula() ? c->x->f : std::string();
}

bool Worksheet::hasCell(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    s.checkHeld(row);
    return s.findCell(row, col) != nullptr;
}

// A text into a cell, whose format stays; a table's column takes a header cell's text as its name.
static void writeText(SheetImpl& s, int row, int col, std::string_view utf8)
{
    auto& sst = s.book->strings();
    int idx = sst.intern(utf8);
    Cell& c = s.cellFor(row, col);
    if (c.type != TShared)
        sst.addRefs(1);
    c.type = TShared;
    c.hasV = true;
    c.v = std::to_string(idx);
    valueWritten(s, c);
    if (auto name = s.headerWritten(row, col, std::string(utf8)))
        writeText(s, row, col, *name);
}

void Worksheet::setText(int row, int col, std::string_view utf8)
{
    auto& s = loadedSheet(impl_);
    if (!validUtf8(utf8))
        throw Error("セル " + cellName(row, col) + " に書く文字列がUTF-8として不正です。");
    if (utf16Length(utf8) > 32767)
        throw Error("セル " + cellName(row, col) + " に書く文字列が32767文字を超えています。");
    s.checkRow(row);
    s.checkCol(col);
    writeText(s, row, col, utf8);
}

void Worksheet::setNumber(int row, int col, double value)
{
    auto& s = loadedSheet(impl_);
    if (!std::isfinite(value))
        throw Error("セル " + cellName(row, col) + " に書く数値が不正です（無限大または非数）。");
    if (s.inTableHeader(row, col)) // a table's column names are texts
        return writeText(s, row, col, numberText(value));
    Cell& c = s.cellFor(row, col);
    if (c.type == TShared)
        s.book->sst.addRefs(-1);
    c.type = TNone;
    c.hasV = true;
    c.v = numberText(value);
    valueWritten(s, c);
}

void Worksheet::clearValue(int row, int col)
{
    auto& s = loadedSheet(impl_);
    s.checkRow(row);
    s.checkCol(col);
    s.checkHeld(row);
    if (!s.findCell(row, col))
        return;
    Cell& c = s.cellFor(row, col);
    if (c.type == TShared)
        s.book->sst.addRefs(-1);
    c.type = TNone;
    c.hasV = false;
    c.v.clear();
    c.x.reset();
    valueWritten(s, c);
    if (auto name = s.headerWritten(row, col, std::string()))
        writeText(s, row, col, *name);
}

static int numFmtFor(SheetImpl& s, std::string_view code)
{
    if (code.empty() || code.size() > 255 || !validUtf8(code))
        throw Error("表示形式 \"" + std::string(code) + "\" が不正です。");
    return s.book->editStyles().numFmtId(code);
}

void Worksheet::setNumberFormat(int row, int col, std::string_view code)
{
    auto& s = loadedSheet(impl_);
    StylePatch p;
    p.numFmt = numFmtFor(s, code);
    s.applyStyle(row, col, p);
}

void Worksheet::setFormat(int row, int col, const FormatChange& change)
{
    auto& s = loadedSheet(impl_);
    StylePatch p;
    if (!change.numberFormat.empty())
        p.numFmt = numFmtFor(s, change.numberFormat);
    if (change.align)
        p.align = static_cast<int>(*change.align);
    if (change.strike)
        p.strike = *change.strike ? 1 : 0;
    if (p.numFmt >= 0 || p.align >= 0 || p.strike >= 0)
        s.applyStyle(row, col, p);
}

void Worksheet::setHorizontalAlignment(int row, int col, HAlign align)
{
    StylePatch p;
    p.align = static_cast<int>(align);
    loadedSheet(impl_).applyStyle(row, col, p);
}

void Worksheet::setStrike(int row, int col, bool strike)
{
    StylePatch p;
    p.strike = strike ? 1 : 0;
    loadedSheet(impl_).applyStyle(row, col, p);
}

void Worksheet::setFill(int row, int col, std::uint32_t rgb)
{
    StylePatch p;
    p.fill = rgb & 0xFFFFFF;
    loadedSheet(impl_).applyStyle(row, col, p);
}

static int styleOf(SheetImpl& s, int row, int col)
{
    s.checkHeld(row);
    const Cell* c = s.findCell(row, col);
    if (c)
        return c->style < 0 ? 0 : c->style;
    int d = s.defaultStyle(row, col);
    return d < 0 ? 0 : d;
}

std::string Worksheet::numberFormat(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    return s.book->styles.numFmtCode(styleOf(s, row, col));
}

HAlign Worksheet::horizontalAlignment(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    return s.book->styles.align(styleOf(s, row, col));
}

bool Worksheet::strike(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    return s.book->styles.strike(styleOf(s, row, col));
}

std::optional<std::uint32_t> Worksheet::fillRgb(int row, int col) const
{
    auto& s = loadedSheet(impl_);
    return s.book->styles.fill(styleOf(s, row, col));
}

int Worksheet::lastUsedRow() const
{
    return loadedSheet(impl_).lastUsedRow();
}

std::optional<double> Worksheet::rowHeight(int row) const
{
    auto& s = loadedSheet(impl_);
    s.checkHeld(row);
    const Row* r = s.findRow(row);
    if (!r)
        return std::nullopt;
    for (auto& [k, v] : *r->attrs)
        if (k == "ht") {
            double h = 0;
            auto res = std::from_chars(v.data(), v.data() + v.size(), h);
            if (res.ec == std::errc())
                return h;
        }
    return std::nullopt;
}

std::vector<CellRange> Worksheet::mergedRanges() const
{
    return loadedSheet(impl_).merges;
}

std::vector<int> Worksheet::rowBreaksAbove() const
{
    std::vector<int> v;
    for (auto& b : loadedSheet(impl_).breaks)
        v.push_back(b.id + 1);
    return v;
}

void Worksheet::addRowBreakAbove(int row)
{
    auto& s = loadedSheet(impl_);
    s.checkRow(row);
    if (row < 2)
        return; // there is nothing above the first row to break from
    int id = row - 1;
    auto it = std::lower_bound(s.breaks.begin(), s.breaks.end(), id,
                               [](const Break& b, int v) { return b.id < v; });
    if (it != s.breaks.end() && it->id == id)
        return;
    if (s.breaks.size() >= 1023)
        throw Error("シート \"" + s.name + "\" の改ページが多すぎます（1枚のシートに1023まで）。");
    Break b;
    b.id = id;
    b.attrs = {{"max", "16383"}, {"man", "1"}};
    s.breaks.insert(it, std::move(b));
    s.dirty = true;
}

bool Worksheet::writeOutRowsAbove(int row)
{
    return loadedSheet(impl_).writeOutAbove(row);
}

static std::string printAreaText(const std::string& sheetName, const CellRange& a)
{
    return quoteSheetName(sheetName) + "!$" + columnName(a.firstCol) + "$" + std::to_string(a.firstRow) +
           ":$" + columnName(a.lastCol) + "$" + std::to_string(a.lastRow);
}

void Worksheet::setPrintArea(const CellRange& area)
{
    auto& s = loadedSheet(impl_);
    s.checkRow(area.firstRow);
    s.checkRow(area.lastRow);
    s.checkCol(area.firstCol);
    s.checkCol(area.lastCol);
    if (area.firstRow > area.lastRow || area.firstCol > area.lastCol)
        throw Error("印刷範囲が不正です。");
    auto dn = s.book->definedNames(true);
    std::string text = printAreaText(s.name, area);
    pugi::xml_node found;
    for (auto n : dn.children())
        if (std::string(n.attribute("name").value()) == "_xlnm.Print_Area" && n.attribute("localSheetId") &&
            n.attribute("localSheetId").as_uint(99999) == s.index) {
            found = n;
            break;
        }
    if (!found) {
        std::string prefix;
        std::string rn = dn.name();
        if (auto colon = rn.find(':'); colon != std::string::npos)
            prefix = rn.substr(0, colon + 1);
        // names are kept sorted by name, the way spreadsheet programs write them
        pugi::xml_node before;
        for (auto n : dn.children())
            if (std::string(n.attribute("name").value()) > "_xlnm.Print_Area") {
                before = n;
                break;
            }
        found = before ? dn.insert_child_before((prefix + "definedName").c_str(), before)
                       : dn.append_child((prefix + "definedName").c_str());
        found.append_attribute("name") = "_xlnm.Print_Area";
        found.append_attribute("localSheetId") = static_cast<unsigned long long>(s.index);
    }
    found.text().set(text.c_str());
    s.book->wbDirty = true;
}

std::optional<CellRange> Worksheet::printArea() const
{
    auto& s = loadedSheet(impl_);
    auto dn = s.book->definedNames(false);
    for (auto n : dn.children())
        if (std::string(n.attribute("name").value()) == "_xlnm.Print_Area" &&
            n.attribute("localSheetId").as_uint(99999) == s.index) {
            std::optional<CellRange> out;
            rewriteFormula(n.text().get(), [&](Ref& r) {
                if (out || r.a.row == 0 || r.a.col == 0)
                    return false;
                out =
                    CellRange{r.a.row, r.a.col, r.isRange ? r.b.row : r.a.row, r.isRange ? r.b.col : r.a.col};
                return false;
            });
            return out;
        }
    return std::nullopt;
}

void Worksheet::rename(std::string_view newNameView)
{
    auto& s = *impl_;
    std::string newName(newNameView);
    if (newName.empty() || utf16Length(newName) > 31 || !validUtf8(newName))
        throw Error("シート名 \"" + newName + "\" は使えません（1〜31文字）。");
    if (newName.find_first_of(":\\/?*[]") != std::string::npos || newName.front() == '\'' ||
        newName.back() == '\'')
        throw Error("シート名 \"" + newName + "\" は使えません（: \\ / ? * [ ] と前後の ' は使えません）。");
    if (sameSheetName(newName, "History"))
        throw Error("シート名 \"History\" は使えません。");
    for (unsigned char c : newName)
        if (c < 0x20)
            throw Error("シート名に制御文字は使えません。");
    if (newName == s.name)
        return;
    for (auto& o : s.book->sheets)
        if (o.get() != &s && lowerAscii(o->name) == lowerAscii(newName))
            throw Error("シート名 \"" + newName + "\" は既にあります。");
    std::string old = s.name;
    BookImpl& book = *s.book;
    // load everything first so that a failure leaves the workbook unchanged
    for (auto& sp : book.sheets)
        if (!sp->part.empty())
            sp->ensureLoaded();
    auto fn = [&](std::string_view f) { return renameSheetInFormula(f, old, newName); };
    auto none = [](std::string_view) -> std::optional<std::string> { return std::nullopt; };
    for (auto& sp : book.sheets) {
        if (sp->part.empty())
            continue;
        for (auto& row : sp->rows)
            for (auto& c : row.cells)
                if (c.hasFormula() && !c.x->f.empty())
                    if (auto nf = fn(c.x->f)) {
                        auto nx = std::make_shared<CellExtra>(*c.x);
                        nx->f = std::move(*nf);
                        c.x = std::move(nx);
                        sp->dirty = true;
                    }
        if (rewriteSheetXml(sp->doc.document_element(), fn, false, none))
            sp->dirty = true;
    }
    if (auto dn = book.definedNames(false))
        for (auto n : dn.children())
            if (auto nf = fn(n.text().get()))
                n.text().set(nf->c_str());
    book.rewriteChartFormulas(fn);
    for (auto sh : childL(book.wb.document_element(), "sheets").children())
        if (std::string(sh.attribute("name").value()) == old) {
            sh.attribute("name").set_value(newName.c_str());
            break;
        }
    book.wbDirty = true;
    // docProps/app.xml lists the sheet names
    for (auto& rel : book.pkg->relationships(""))
        if (!rel.external && rel.type.find("/extended-properties") != std::string::npos &&
            book.pkg->has(rel.resolved)) {
            pugi::xml_document app;
            Package::parseXml(app, book.pkg->read(rel.resolved), rel.resolved);
            bool changed = false;
            auto titles = childL(app.document_element(), "TitlesOfParts");
            walkElements(titles, [&](pugi::xml_node c) {
                if (std::strcmp(lname(c), "lpstr") != 0 || old != c.text().get())
                    return false;
                c.text().set(newName.c_str());
                changed = true;
                return true;
            });
            if (changed)
                book.pkg->write(rel.resolved, Package::serialize(app));
        }
    s.name = newName;
}

} // namespace xlsx
