// Opening, checking and saving a workbook, and the workbook's own interface.
#include "Internal.h"

#include <algorithm>
#include <charconv>
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
    // a renderer prints every sheet that has a print area, hidden or not
    if (auto names = book.definedNames(false)) {
        std::vector<pugi::xml_node> others;
        for (auto n : names.children())
            if (std::strcmp(n.attribute("name").value(), "_xlnm.Print_Area") == 0 &&
                n.attribute("localSheetId") && n.attribute("localSheetId").as_uint() != index)
                others.push_back(n);
        for (auto n : others)
            names.remove_child(n);
        if (!names.first_child())
            root.remove_child(names);
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
