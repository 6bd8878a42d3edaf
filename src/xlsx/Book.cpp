// Opening, editing, checking and saving a workbook.
#include "Internal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <set>

namespace xlsx
{

using namespace detail;

namespace detail
{

namespace
{

const char* kRelOfficeDoc =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument";
const char* kRelStrictDoc = "http://purl.oclc.org/ooxml/officeDocument/relationships/officeDocument";

bool endsWith(const std::string& s, const char* suffix)
{
    std::size_t n = std::strlen(suffix);
    return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

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

// Rewrites every formula-bearing node of a sheet's XML (conditional formats, validations,
// hyperlink locations, extension lists) with fn; returns true when something changed.
template <class Fn>
bool rewriteSheetXml(pugi::xml_node root, Fn fn, bool sqrefToo,
                     const std::function<std::optional<std::string>(std::string_view)>& sq)
{
    bool changed = false;
    std::vector<pugi::xml_node> gone; // whatever covered only rows pushed off the sheet
    auto text = [&](pugi::xml_node n) {
        auto r = fn(std::string_view(n.text().get()));
        if (r) {
            n.text().set(r->c_str());
            changed = true;
        }
    };
    auto attr = [&](pugi::xml_node owner, const char* name, bool isSq) {
        auto a = owner.attribute(name);
        if (!a)
            return;
        auto r = isSq ? (sqrefToo ? sq(a.value()) : std::nullopt) : fn(std::string_view(a.value()));
        if (r) {
            a.set_value(r->c_str());
            changed = true;
            if (r->empty())
                gone.push_back(owner);
        }
    };
    for (auto n : root.children()) {
        const char* ln = lname(n);
        if (std::strcmp(ln, "conditionalFormatting") == 0) {
            attr(n, "sqref", true);
            for (auto rule : n.children())
                for (auto f : rule.children())
                    if (std::strcmp(lname(f), "formula") == 0)
                        text(f);
        } else if (std::strcmp(ln, "dataValidations") == 0) {
            for (auto dv : n.children()) {
                attr(dv, "sqref", true);
                for (auto f : dv.children())
                    if (std::strcmp(lname(f), "formula1") == 0 || std::strcmp(lname(f), "formula2") == 0)
                        text(f);
            }
        } else if (std::strcmp(ln, "hyperlinks") == 0) {
            for (auto h : n.children()) {
                attr(h, "ref", true);
                attr(h, "location", false);
            }
        } else if (std::strcmp(ln, "autoFilter") == 0) {
            attr(n, "ref", true);
        } else if (std::strcmp(ln, "ignoredErrors") == 0 || std::strcmp(ln, "protectedRanges") == 0) {
            for (auto c : n.children())
                attr(c, "sqref", true);
        } else if (std::strcmp(ln, "extLst") == 0) {
            // x14 conditional formats and validations: xm:sqref and xm:f
            walkElements(n, [&](pugi::xml_node c) {
                const char* cl = lname(c);
                if (std::strcmp(cl, "sqref") == 0) {
                    if (sqrefToo)
                        if (auto r = sq(c.text().get())) {
                            c.text().set(r->c_str());
                            changed = true;
                            if (r->empty())
                                gone.push_back(c.parent());
                        }
                } else if (std::strcmp(cl, "f") == 0) {
                    text(c);
                } else {
                    return false;
                }
                return true;
            });
        }
    }
    for (auto g : gone) {
        auto parent = g.parent();
        parent.remove_child(g);
        if (auto count = parent.attribute("count")) {
            int n = 0;
            for (auto c : parent.children())
                n += c.type() == pugi::node_element;
            count.set_value(n);
        }
        if (!parent.first_child() && parent != root)
            parent.parent().remove_child(parent);
    }
    return changed;
}

} // namespace

std::string cellText(const BookImpl& book, const Cell& c)
{
    switch (c.type) {
    case TShared: {
        std::size_t idx = 0;
        auto res = std::from_chars(c.v.data(), c.v.data() + c.v.size(), idx);
        if (res.ec != std::errc())
            return {};
        return book.sst.text(idx);
    }
    case TInline: {
        if (!c.x)
            return {};
        pugi::xml_document d;
        d.load_buffer(c.x->raw.data(), c.x->raw.size(), pugi::parse_default | pugi::parse_ws_pcdata_single);
        std::string out;
        for (auto is : d.children()) {
            if (std::strcmp(lname(is), "is") != 0)
                continue;
            for (auto ch : is.children()) {
                if (std::strcmp(lname(ch), "t") == 0)
                    out += ch.text().get();
                else if (std::strcmp(lname(ch), "r") == 0)
                    out += childL(ch, "t").text().get();
            }
        }
        return decodeEscapes(out);
    }
    case TBool:
        return c.v == "1" ? "TRUE" : "FALSE";
    case TStr:
        return decodeEscapes(c.v);
    default:
        return c.v;
    }
}

void BookImpl::open(const std::filesystem::path& path)
{
    pkg = std::make_unique<Package>(path);
    for (auto& rel : pkg->relationships(""))
        if (!rel.external && (rel.type == kRelOfficeDoc || rel.type == kRelStrictDoc))
            workbookPart = rel.resolved;
    if (workbookPart.empty() || !pkg->has(workbookPart))
        throw Error("ブックの本体（workbook.xml）が見つかりません: " + fileLabel(path));
    Package::parseXml(wb, pkg->read(workbookPart), workbookPart);
    auto root = wb.document_element();
    if (std::strcmp(lname(root), "workbook") != 0)
        throw Error("パーツ " + workbookPart + " はブックではありません: " + fileLabel(path));
    std::string ns = root.attribute("xmlns").value();
    if (ns.find("purl.oclc.org") != std::string::npos)
        throw Error("Strict Open XML 形式のブックには対応していません。Excel で「Excel ブック (*.xlsx)」"
                    "の形式で保存し直して下さい: " +
                    fileLabel(path));
    auto rels = pkg->relationships(workbookPart);
    auto relById = [&](const std::string& id) -> const Relationship* {
        for (auto& r : rels)
            if (r.id == id)
                return &r;
        return nullptr;
    };
    auto sheetsNode = childL(root, "sheets");
    std::set<std::string> seen;
    for (auto s : sheetsNode.children()) {
        if (s.type() != pugi::node_element || std::strcmp(lname(s), "sheet") != 0)
            continue;
        std::string rid;
        for (auto a : s.attributes()) {
            std::string an = a.name();
            if (an == "r:id" || endsWith(an, ":id"))
                rid = a.value();
        }
        const Relationship* rel = relById(rid);
        if (!rel || rel->external)
            throw Error("シート \"" + std::string(s.attribute("name").value()) +
                        "\" のパーツが見つかりません: " + fileLabel(path));
        auto sh = std::make_unique<SheetImpl>();
        sh->book = this;
        sh->name = s.attribute("name").value();
        sh->rid = rid;
        sh->part = rel->resolved;
        sh->index = sheets.size();
        if (!endsWith(rel->type, "/worksheet"))
            sh->part.clear(); // chart sheets, dialog sheets: listed but not editable
        else if (!pkg->has(sh->part))
            throw Error("シート \"" + sh->name + "\" のパーツ " + sh->part +
                        " がありません: " + fileLabel(path));
        if (!seen.insert(lowerAscii(sh->name)).second)
            throw Error("シート名 \"" + sh->name + "\" が重複しています: " + fileLabel(path));
        sh->handle.reset(new Worksheet(sh.get()));
        sheets.push_back(std::move(sh));
    }
    if (sheets.empty())
        throw Error("ブックにシートがありません: " + fileLabel(path));
    for (auto& r : rels) {
        if (r.external)
            continue;
        if (endsWith(r.type, "/sharedStrings") && pkg->has(r.resolved))
            sst.load(*pkg, r.resolved);
        else if (endsWith(r.type, "/styles") && pkg->has(r.resolved))
            styles.load(*pkg, r.resolved);
        else if (endsWith(r.type, "/externalLink"))
            warnings.push_back("このブックには外部ブックへのリンクがあります（リンクは更新されません）。");
        else if (endsWith(r.type, "/vbaProject"))
            warnings.push_back("このブックにはマクロが含まれています（マクロはそのまま保存されます）。");
    }
    if (childL(root, "customWorkbookViews"))
        warnings.push_back("このブックにはユーザー設定のビューがあります（行の挿入は反映されません）。");
}

SharedStrings& BookImpl::strings()
{
    if (!sst.exists())
        sst.create(*pkg, workbookPart);
    return sst;
}

Styles& BookImpl::editStyles()
{
    if (!styles.loaded())
        styles.create(*pkg, workbookPart);
    return styles;
}

pugi::xml_node BookImpl::definedNames(bool create)
{
    auto root = wb.document_element();
    auto dn = childL(root, "definedNames");
    if (!dn && create)
        dn = ensureChild(root, "definedNames", kWorkbookOrder);
    return dn;
}

std::vector<std::string> BookImpl::chartParts()
{
    std::vector<std::string> out;
    for (auto& n : pkg->partNames())
        if (pkg->contentType(n) == "application/vnd.openxmlformats-officedocument.drawingml.chart+xml")
            out.push_back(n);
    return out;
}

pugi::xml_document& BookImpl::chart(const std::string& part)
{
    auto& d = charts[part];
    if (!d) {
        d = std::make_unique<pugi::xml_document>();
        Package::parseXml(*d, pkg->read(part), part);
    }
    return *d;
}

void BookImpl::rewriteChartFormulas(const std::function<std::optional<std::string>(std::string_view)>& fn)
{
    for (auto& cp : chartParts())
        walkElements(chart(cp).document_element(), [&](pugi::xml_node c) {
            if (std::strcmp(lname(c), "f") != 0)
                return false;
            if (auto nf = fn(c.text().get())) {
                c.text().set(nf->c_str());
                chartsDirty[cp] = true;
            }
            return true;
        });
}

bool BookImpl::modified() const
{
    if (wbDirty || sst.dirty() || styles.dirty() || pkg->modified())
        return true;
    for (auto& s : sheets)
        if (s->dirty || s->partsDirty())
            return true;
    for (auto& [k, d] : chartsDirty)
        if (d)
            return true;
    return false;
}

void BookImpl::checkRows(const SheetImpl& s, std::size_t count) const
{
    std::string where = "シート \"" + s.name + "\"";
    int prev = s.written ? s.written->below - 1 : 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Row& row = s.rows[i];
        if (row.r <= prev || row.r > kMaxRow)
            throw Error(where + " の行番号が不正です（" + std::to_string(row.r) + "）。");
        prev = row.r;
        int pc = 0;
        for (auto& c : row.cells) {
            if (c.col <= pc || c.col > kMaxCol)
                throw Error(where + " の行 " + std::to_string(row.r) + " のセルの順序が不正です。");
            pc = c.col;
            if (c.style >= 0 && styles.loaded() && static_cast<std::size_t>(c.style) >= styles.xfCount())
                throw Error(where + " のセル " + cellName(row.r, c.col) + " の書式番号が範囲外です。");
            if (c.type == TShared) {
                std::size_t idx = 0;
                auto res = std::from_chars(c.v.data(), c.v.data() + c.v.size(), idx);
                if (res.ec != std::errc() || idx >= sst.size())
                    throw Error(where + " のセル " + cellName(row.r, c.col) +
                                " の共有文字列番号が範囲外です。");
            }
        }
    }
}

void BookImpl::validate()
{
    for (auto& sp : sheets) {
        SheetImpl& s = *sp;
        if (!s.loaded)
            continue;
        std::string where = "シート \"" + s.name + "\"";
        checkRows(s, s.rows.size());
        std::vector<CellRange> m = s.merges;
        std::sort(m.begin(), m.end(), [](auto& a, auto& b) { return a.firstRow < b.firstRow; });
        for (std::size_t i = 0; i < m.size(); ++i) {
            if (m[i].firstRow < 1 || m[i].lastRow > kMaxRow || m[i].firstCol < 1 || m[i].lastCol > kMaxCol ||
                m[i].firstRow > m[i].lastRow || m[i].firstCol > m[i].lastCol)
                throw Error(where + " の結合セルが不正です。");
            for (std::size_t j = i + 1; j < m.size() && m[j].firstRow <= m[i].lastRow; ++j)
                if (!(m[j].lastCol < m[i].firstCol || m[j].firstCol > m[i].lastCol))
                    throw Error(where + " の結合セル " + cellName(m[i].firstRow, m[i].firstCol) + " と " +
                                cellName(m[j].firstRow, m[j].firstCol) + " が重なっています。");
        }
        std::size_t lastPos = 0;
        for (auto n : s.doc.document_element().children()) {
            if (n.type() != pugi::node_element)
                continue;
            std::size_t pos = 0;
            while (pos < kWorksheetOrder.size() && std::strcmp(kWorksheetOrder[pos], lname(n)) != 0)
                ++pos;
            if (pos == kWorksheetOrder.size())
                continue; // unknown extension element: left where it is
            if (pos < lastPos)
                throw Error(where + " の要素 " + std::string(lname(n)) + " の位置が不正です。");
            lastPos = pos;
        }
        if (s.breaks.size() > 1023)
            throw Error(where + " の改ページが1023を超えています。");
        for (std::size_t i = 1; i < s.breaks.size(); ++i)
            if (s.breaks[i].id <= s.breaks[i - 1].id)
                throw Error(where + " の改ページの順序が不正です。");
    }
    // every part has a content type
    for (auto& n : pkg->partNames()) {
        if (n == "[Content_Types].xml")
            continue;
        if (pkg->contentType(n).empty())
            throw Error("パーツ " + n + " にコンテンツタイプがありません。");
    }
    // every internal relationship of the workbook and of the sheets points to a part
    std::vector<std::string> sources{"", workbookPart};
    for (auto& s : sheets)
        if (!s->part.empty())
            sources.push_back(s->part);
    for (auto& src : sources)
        for (auto& r : pkg->relationships(src))
            if (!r.external && !pkg->has(r.resolved))
                throw Error("パーツ " + (src.empty() ? std::string("/") : src) + " の関連先 " + r.resolved +
                            " がありません。");
}

void BookImpl::save(const std::filesystem::path& target)
{
    if (valuesChanged) {
        // Cached results of formulas would be stale: drop them and let the reader recalculate.
        // A change of the workbook alone (a sheet hidden, a name set) leaves them as they are, and
        // the sheets that were not opened stay unparsed.
        for (auto& s : sheets) {
            if (s->part.empty())
                continue;
            s->ensureLoaded();
            for (auto& row : s->rows)
                for (auto& c : row.cells)
                    if (c.hasFormula() && c.hasV) {
                        c.hasV = false;
                        c.v.clear();
                        if (c.type == TStr || c.type == TBool || c.type == TError)
                            c.type = TNone;
                        s->dirty = true;
                    }
        }
        auto root = wb.document_element();
        auto calc = ensureChild(root, "calcPr", kWorkbookOrder);
        if (calc.attribute("fullCalcOnLoad"))
            calc.attribute("fullCalcOnLoad").set_value("1");
        else
            calc.append_attribute("fullCalcOnLoad") = "1";
        wbDirty = true;
        for (auto& r : pkg->relationships(workbookPart))
            if (!r.external && endsWith(r.type, "/calcChain")) {
                pkg->remove(r.resolved);
                pkg->removeOverride(r.resolved);
                pkg->removeRelationship(workbookPart, r.id);
            }
    }
    validate();
    for (auto& s : sheets) {
        if (s->dirty) {
            pkg->writeStreamed(s->part, [sheet = s.get()](PartSink& out) { sheet->writeTo(out); });
            s->dirty = false;
        }
        s->flushParts();
    }
    for (auto& [part, d] : chartsDirty)
        if (d) {
            pkg->write(part, Package::serialize(*charts[part]));
            d = false;
        }
    sst.flush(*pkg);
    styles.flush(*pkg);
    if (wbDirty) {
        pkg->write(workbookPart, Package::serialize(wb));
        wbDirty = false;
    }
    pkg->saveTo(target);
    valuesChanged = false;
}

// ---------------------------------------------------------------------------------------------
// Row insertion

void SheetImpl::checkInsert(int top, int count)
{
    checkRow(top);
    checkHeld(top);
    if (count < 0 || count > kMaxRow)
        throw Error("挿入する行数が不正です。");
    ensureLoaded();
    std::string where = "シート \"" + name + "\"";
    // values are never pushed off the sheet; formatting alone may fall off its end
    for (auto it = rows.rbegin(); it != rows.rend() && it->r >= top && it->r > kMaxRow - count; ++it)
        for (auto& c : it->cells)
            if (c.holdsValue())
                throw Error(where + " に行を挿入すると、セル " + cellName(it->r, c.col) +
                            " の値が最終行（1048576行）を超えます。");
    for (auto& row : hasFormulas ? rows : std::vector<Row>{})
        for (auto& c : row.cells) {
            if (!c.hasFormula())
                continue;
            for (auto& [k, v] : c.x->fAttrs) {
                if (k == "t" && v == "dataTable")
                    throw Error(where + " にはデータテーブルがあるため行を挿入できません。");
                if (k == "t" && v == "array") {
                    int r1, c1, r2, c2;
                    std::string ref;
                    for (auto& [k2, v2] : c.x->fAttrs)
                        if (k2 == "ref")
                            ref = v2;
                    if (parseRange(ref, r1, c1, r2, c2) && r1 < top && top <= r2)
                        throw Error(where + " の配列数式 " + ref +
                                    " が挿入位置にまたがるため行を挿入できません。");
                }
            }
        }
    if (hasPivotTable)
        throw Error(where +
                    " にはピボットテーブルがあるため、行を挿入できません。ピボットテーブルを別のシートに"
                    "移してから指定して下さい。");
    for (auto& source : book->pivotSourceSheets())
        if (sameSheetName(source, name))
            throw Error(where + " のデータを元にしたピボットテーブルがあるため、行を挿入できません。"
                                "ピボットテーブルの元データを別のシートに移してから指定して下さい。");
    checkObjects(top, count);
    for (auto& t : tables)
        if (t.ref.firstRow < top && top <= t.ref.lastRow)
            throw Error(where + " のテーブル \"" +
                        std::string(t.doc->document_element().attribute("displayName").value()) + "\"（" +
                        cellName(t.ref.firstRow, t.ref.firstCol) + ":" +
                        cellName(t.ref.lastRow, t.ref.lastCol) + "）が行 " + std::to_string(top) +
                        " の挿入位置にまたがるため、行を挿入できません。テーブルを1ページの中に収めるか、"
                        "通常のセル範囲に変換して下さい。");
}

namespace
{

// Formulas on every sheet and defined names that point at a sheet, as they read after count rows
// are inserted at top: computed before anything changes. Refuses 3-D references.
struct FormulaShift {
    struct Pending {
        SheetImpl* sheet;
        Cell* cell;
        std::string f;
    };
    std::vector<Pending> cells;
    std::vector<std::pair<pugi::xml_node, std::string>> names;

    FormulaShift(BookImpl& book, const std::string& target, int top, int count)
    {
        bool threeD = false;
        for (auto& sp : book.sheets) {
            if (sp->part.empty())
                continue;
            sp->ensureLoaded();
            if (!sp->hasFormulas)
                continue;
            for (auto& row : sp->rows)
                for (auto& c : row.cells) {
                    if (!c.hasFormula() || c.x->f.empty())
                        continue;
                    if (auto nf = shiftForInsert(c.x->f, sp->name, target, top, count, &threeD))
                        cells.push_back({sp.get(), &c, std::move(*nf)});
                }
        }
        if (auto dn = book.definedNames(false))
            for (auto n : dn.children())
                if (auto nf = shiftForInsert(n.text().get(), "", target, top, count, &threeD))
                    names.emplace_back(n, std::move(*nf));
        if (threeD)
            throw Error("このブックには複数シートにまたがる参照（3-D参照）があるため、シート \"" + target +
                        "\" に行を挿入できません。");
    }
};

} // namespace

void SheetImpl::insertRows(int top, int count, const std::vector<long long>& heights)
{
    // --- checks: nothing is changed before all of them pass
    checkInsert(top, count);
    if (count == 0)
        return;
    FormulaShift shift(*book, name, top, count);

    // --- apply
    book->valuesChanged = true;       // cells change places: what a formula reads may differ
    moveObjects(top, count, heights); // measures the rows as they are before they move
    auto firstMoving =
        std::lower_bound(rows.begin(), rows.end(), top, [](const Row& a, int v) { return a.r < v; });
    for (auto it = firstMoving; it != rows.end(); ++it)
        it->r += count;
    // rows pushed off the end held formatting only
    rows.erase(
        std::lower_bound(rows.begin(), rows.end(), kMaxRow + 1, [](const Row& a, int v) { return a.r < v; }),
        rows.end());
    for (auto& p : shift.cells) {
        auto nx = std::make_shared<CellExtra>(*p.cell->x);
        nx->f = std::move(p.f);
        p.cell->x = std::move(nx);
        p.sheet->dirty = true;
        book->formulasMoved = true;
    }
    for (auto& [n, f] : shift.names)
        n.text().set(f.c_str());
    if (!shift.names.empty())
        book->wbDirty = true;
    for (auto it = rows.begin(); hasFormulas && it != rows.end(); ++it)
        for (auto& c : it->cells)
            if (c.hasFormula() && it->r >= top + count) {
                for (auto& kv : c.x->fAttrs)
                    if (kv.first == "ref")
                        if (auto nr = shiftSqrefForInsert(kv.second, top, count)) {
                            auto nx = std::make_shared<CellExtra>(*c.x);
                            for (auto& kv2 : nx->fAttrs)
                                if (kv2.first == "ref")
                                    kv2.second = *nr;
                            c.x = std::move(nx);
                            break;
                        }
            }
    for (auto& m : merges) {
        if (m.firstRow >= top) {
            m.firstRow = std::min(m.firstRow, kMaxRow + 1 - count) + count;
            m.lastRow = std::min(m.lastRow, kMaxRow - count) + count;
        } else if (m.lastRow >= top) {
            m.lastRow = std::min(m.lastRow, kMaxRow - count) + count;
        }
    }
    merges.erase(std::remove_if(merges.begin(), merges.end(), [](auto& m) { return m.firstRow > kMaxRow; }),
                 merges.end());
    for (auto& b : breaks)
        if (b.id + 1 >= top)
            b.id = b.id < kMaxRow - count ? b.id + count : kMaxRow;
    breaks.erase(std::remove_if(breaks.begin(), breaks.end(), [](auto& b) { return b.id >= kMaxRow; }),
                 breaks.end());
    auto fn = [&](std::string_view f) { return shiftForInsert(f, name, name, top, count); };
    auto sq = [&](std::string_view s) { return shiftSqrefForInsert(s, top, count); };
    rewriteSheetXml(doc.document_element(), fn, true, sq);
    // other sheets' conditional formats and validations may point here too
    for (auto& sp : book->sheets)
        if (sp.get() != this && sp->loaded) {
            auto f2 = [&](std::string_view f) { return shiftForInsert(f, sp->name, name, top, count); };
            if (rewriteSheetXml(sp->doc.document_element(), f2, false, sq))
                sp->dirty = true;
        }
    book->rewriteChartFormulas([&](std::string_view f) { return shiftForInsert(f, "", name, top, count); });
    dirty = true;
}

void BookImpl::warn(const std::string& text)
{
    if (std::find(warnings.begin(), warnings.end(), text) == warnings.end())
        warnings.push_back(text);
}

const std::vector<std::string>& BookImpl::pivotSourceSheets()
{
    if (!pivotSources) {
        std::vector<std::string> v;
        for (auto& r : pkg->relationships(workbookPart))
            if (!r.external && endsWith(r.type, "/pivotCacheDefinition") && pkg->has(r.resolved)) {
                pugi::xml_document d;
                Package::parseXml(d, pkg->read(r.resolved), r.resolved);
                auto ws = childL(childL(d.document_element(), "cacheSource"), "worksheetSource");
                if (ws.attribute("sheet"))
                    v.push_back(ws.attribute("sheet").value());
            }
        pivotSources = std::move(v);
    }
    return *pivotSources;
}

} // namespace detail

// ---------------------------------------------------------------------------------------------
// PageForm

int PageForm::rowCount() const
{
    return data_ ? data_->lastRow - data_->firstRow + 1 : 0;
}

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

static SheetImpl& loadedSheet(SheetImpl* s)
{
    if (s->part.empty())
        throw Error("シート \"" + s->name + "\" はワークシートではないため編集できません。");
    s->ensureLoaded();
    return *s;
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

void Worksheet::insertRows(int row, int count)
{
    loadedSheet(impl_).insertRows(row, count);
}

bool Worksheet::writeOutRowsAbove(int row)
{
    return loadedSheet(impl_).writeOutAbove(row);
}

PageForm Worksheet::snapshotRows(int firstRow, int lastRow) const
{
    auto& s = loadedSheet(impl_);
    s.checkRow(firstRow);
    s.checkRow(lastRow);
    s.checkHeld(firstRow);
    if (lastRow < firstRow)
        throw Error("ページの行範囲が不正です（" + std::to_string(firstRow) + "〜" + std::to_string(lastRow) +
                    "）。");
    auto fd = std::make_shared<FormData>();
    fd->book = s.book;
    fd->firstRow = firstRow;
    fd->lastRow = lastRow;
    for (auto& row : s.rows)
        if (row.r >= firstRow && row.r <= lastRow) {
            fd->rows.push_back(row);
            for (auto& c : row.cells) {
                if (c.type == TShared)
                    ++fd->sharedRefs;
                if (c.hasFormula())
                    fd->hasFormulas = true;
            }
        }
    for (auto& m : s.merges)
        if (m.firstRow >= firstRow && m.lastRow <= lastRow)
            fd->merges.push_back(m);
    for (auto& b : s.breaks)
        if (b.id + 1 > firstRow && b.id + 1 <= lastRow)
            fd->breakRows.push_back(b.id + 1);
    fd->extras = std::make_shared<pugi::xml_document>();
    auto holder = fd->extras->append_child("form");
    auto cf = holder.append_child("cf"), dv = holder.append_child("dv"), hl = holder.append_child("hl");
    auto inside = [&](std::string_view sqref) {
        bool any = false, ok = true;
        rewriteSqref(sqref, [&](Ref& r) {
            any = true;
            int r1 = r.a.row, r2 = r.isRange ? r.b.row : r.a.row;
            if (r1 < firstRow || r2 > lastRow || r1 == 0)
                ok = false;
            return false;
        });
        return any && ok;
    };
    auto root = s.doc.document_element();
    // what would stop a page from being added is found now, before anything is written
    if (lastRow < kMaxRow) {
        s.checkInsert(lastRow + 1, lastRow - firstRow + 1);
        FormulaShift threeD(*s.book, s.name, lastRow + 1, lastRow - firstRow + 1);
    }
    for (auto n : root.children()) {
        const char* ln = lname(n);
        if (std::strcmp(ln, "conditionalFormatting") == 0 && inside(n.attribute("sqref").value()))
            cf.append_copy(n);
        else if (std::strcmp(ln, "dataValidations") == 0) {
            for (auto v : n.children())
                if (inside(v.attribute("sqref").value()))
                    dv.append_copy(v);
        } else if (std::strcmp(ln, "hyperlinks") == 0) {
            for (auto h : n.children())
                if (inside(h.attribute("ref").value()))
                    hl.append_copy(h);
        }
    }
    s.snapshotObjects(*fd, holder);
    s.checkPaste(*fd);
    PageForm f;
    f.data_ = std::move(fd);
    return f;
}

void Worksheet::pasteForm(const PageForm& form, int topRow)
{
    auto& s = loadedSheet(impl_);
    if (!form.data_)
        throw Error("ページの書式が空です。");
    const FormData& fd = *form.data_;
    if (fd.book != s.book)
        throw Error("別のブックのページ書式は貼り付けられません。");
    s.checkRow(topRow);
    int n = fd.lastRow - fd.firstRow + 1;
    int d = topRow - fd.firstRow;
    std::size_t newBreaks = fd.breakRows.size();
    if (s.breaks.size() + newBreaks > 1023)
        throw Error("シート \"" + s.name + "\" の改ページが多すぎます（1枚のシートに1023まで）。");
    s.checkPaste(fd);
    s.insertRows(topRow, n, fd.rowHeights);
    // rows
    std::vector<Row> copies;
    copies.reserve(fd.rows.size());
    for (auto& row : fd.rows) {
        Row nr = row;
        nr.r = row.r + d;
        for (auto& c : nr.cells)
            if (c.hasFormula() && !c.x->f.empty())
                if (auto nf = shiftForCopy(c.x->f, d, 0)) {
                    auto nx = std::make_shared<CellExtra>(*c.x);
                    nx->f = std::move(*nf);
                    for (auto& kv : nx->fAttrs)
                        if (kv.first == "ref")
                            if (auto r = shiftSqrefForCopy(kv.second, d))
                                kv.second = *r;
                    c.x = std::move(nx);
                    s.book->formulasMoved = true;
                }
        copies.push_back(std::move(nr));
    }
    auto pos =
        std::lower_bound(s.rows.begin(), s.rows.end(), topRow, [](const Row& a, int v) { return a.r < v; });
    s.rows.insert(pos, std::make_move_iterator(copies.begin()), std::make_move_iterator(copies.end()));
    if (fd.sharedRefs)
        s.book->sst.addRefs(fd.sharedRefs);
    if (fd.hasFormulas)
        s.hasFormulas = true;
    for (auto m : fd.merges) {
        m.firstRow += d;
        m.lastRow += d;
        s.merges.push_back(m);
    }
    for (int br : fd.breakRows)
        addRowBreakAbove(br + d);
    // conditional formats, validations, hyperlinks
    auto holder = fd.extras->first_child();
    auto root = s.doc.document_element();
    std::string prefix;
    std::string rn = root.name();
    if (auto colon = rn.find(':'); colon != std::string::npos)
        prefix = rn.substr(0, colon + 1);
    auto fixFormulas = [&](pugi::xml_node n) {
        walkElements(n, [&](pugi::xml_node c) {
            const char* ln = lname(c);
            if (std::strcmp(ln, "formula") != 0 && std::strcmp(ln, "formula1") != 0 &&
                std::strcmp(ln, "formula2") != 0)
                return false;
            if (auto nf = shiftForCopy(c.text().get(), d, 0))
                c.text().set(nf->c_str());
            return true;
        });
    };
    auto shiftAttr = [&](pugi::xml_node n, const char* an) {
        if (auto r = shiftSqrefForCopy(n.attribute(an).value(), d))
            n.attribute(an).set_value(r->c_str());
    };
    if (auto cfs = holder.child("cf"); cfs.first_child()) {
        int maxPriority = 0;
        pugi::xml_node lastCf;
        for (auto c : root.children())
            if (std::strcmp(lname(c), "conditionalFormatting") == 0) {
                lastCf = c;
                for (auto rule : c.children())
                    maxPriority = std::max(maxPriority, rule.attribute("priority").as_int(0));
            }
        for (auto c : cfs.children()) {
            pugi::xml_node copy;
            if (lastCf)
                copy = root.insert_copy_after(c, lastCf);
            else {
                auto placeholder = ensureChild(root, "conditionalFormatting", kWorksheetOrder);
                copy = root.insert_copy_before(c, placeholder);
                root.remove_child(placeholder);
            }
            lastCf = copy;
            shiftAttr(copy, "sqref");
            fixFormulas(copy);
            for (auto rule : copy.children())
                if (rule.attribute("priority"))
                    rule.attribute("priority").set_value(++maxPriority);
        }
    }
    if (auto dvs = holder.child("dv"); dvs.first_child()) {
        auto dvNode = ensureChild(root, "dataValidations", kWorksheetOrder);
        for (auto v : dvs.children()) {
            auto copy = dvNode.append_copy(v);
            shiftAttr(copy, "sqref");
            fixFormulas(copy);
        }
        int cnt = 0;
        for (auto c : dvNode.children())
            cnt += c.type() == pugi::node_element;
        if (dvNode.attribute("count"))
            dvNode.attribute("count").set_value(cnt);
        else
            dvNode.append_attribute("count") = cnt;
    }
    if (auto hls = holder.child("hl"); hls.first_child()) {
        auto hlNode = ensureChild(root, "hyperlinks", kWorksheetOrder);
        auto rels = s.book->pkg->relationships(s.part);
        for (auto h : hls.children()) {
            auto copy = hlNode.append_copy(h);
            shiftAttr(copy, "ref");
            for (auto a : copy.attributes()) {
                std::string an = a.name();
                if (an == "r:id" || (an.size() > 3 && an.compare(an.size() - 3, 3, ":id") == 0)) {
                    for (auto& r : rels)
                        if (r.id == a.value()) {
                            std::string nid =
                                s.book->pkg->addRelationship(s.part, r.type, r.target, r.external);
                            a.set_value(nid.c_str());
                            break;
                        }
                }
            }
        }
    }
    s.pasteObjects(fd, topRow);
    s.dirty = true;
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

// ---------------------------------------------------------------------------------------------
// Workbook

Workbook::Workbook() : impl_(std::make_unique<BookImpl>()) {}
Workbook::Workbook(Workbook&&) noexcept = default;
Workbook& Workbook::operator=(Workbook&&) noexcept = default;
Workbook::~Workbook() = default;

Workbook Workbook::open(const std::filesystem::path& path)
{
    Workbook w;
    try {
        w.impl_->open(path);
    } catch (const Error&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw Error("ブックを開くためのメモリが足りません: " + fileLabel(path));
    } catch (const std::exception& e) {
        throw Error("ブックを開けません: " + fileLabel(path) + " (" + e.what() + ")");
    }
    return w;
}

const std::filesystem::path& Workbook::path() const
{
    return impl_->pkg->path();
}

std::vector<std::string> Workbook::sheetNames() const
{
    std::vector<std::string> v;
    for (auto& s : impl_->sheets)
        v.push_back(s->name);
    return v;
}

void Workbook::showOnlySheet(std::size_t index)
{
    BookImpl& book = *impl_;
    if (index >= book.sheets.size())
        throw Error("シート番号 " + std::to_string(index + 1) + " はありません: " + fileLabel(path()));
    const std::string& keep = book.sheets[index]->name;
    auto root = book.wb.document_element();
    int tab = 0, position = 0;
    for (auto sh : childL(root, "sheets").children()) {
        if (std::strcmp(lname(sh), "sheet") != 0)
            continue;
        auto state = sh.attribute("state");
        if (keep == sh.attribute("name").value()) {
            tab = position;
            sh.remove_attribute(state);
        } else if (std::strcmp(state.value(), "veryHidden") != 0) {
            (state ? state : sh.append_attribute("state")).set_value("hidden");
        }
        ++position;
    }
    for (auto view : childL(root, "bookViews").children()) {
        for (const char* name : {"activeTab", "firstSheet"}) {
            auto a = view.attribute(name);
            (a ? a : view.append_attribute(name)).set_value(tab);
        }
    }
    book.wbDirty = true;
}

std::size_t Workbook::sheetCount() const
{
    return impl_->sheets.size();
}

std::optional<std::size_t> Workbook::findSheet(std::string_view name) const
{
    for (auto& s : impl_->sheets)
        if (s->name == name)
            return s->index;
    for (auto& s : impl_->sheets)
        if (sameSheetName(s->name, name))
            return s->index;
    return std::nullopt;
}

Worksheet& Workbook::sheet(std::string_view name)
{
    auto idx = findSheet(name);
    if (!idx)
        throw Error("シート \"" + std::string(name) + "\" がブック " + fileLabel(path()) + " にありません。");
    return sheet(*idx);
}

Worksheet& Workbook::sheet(std::size_t index)
{
    if (index >= impl_->sheets.size())
        throw Error("シート番号 " + std::to_string(index) + " がありません。");
    auto& s = *impl_->sheets[index];
    if (!s.part.empty()) {
        try {
            s.ensureLoaded();
        } catch (const Error&) {
            throw;
        } catch (const std::exception& e) {
            throw Error("シート \"" + s.name + "\" を読めません (" + e.what() + ")");
        }
    }
    return *s.handle;
}

const std::vector<std::string>& Workbook::warnings() const
{
    return impl_->warnings;
}

void Workbook::validate() const
{
    impl_->validate();
}

bool Workbook::modified() const
{
    return impl_->modified();
}

void Workbook::save()
{
    impl_->save(impl_->pkg->path());
}

void Workbook::saveAs(const std::filesystem::path& path)
{
    impl_->save(path);
}

} // namespace xlsx
