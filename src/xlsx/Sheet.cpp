// Worksheet model: rows and cells held compactly, the rest of the sheet kept as XML.
#include "Internal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace xlsx::detail
{

namespace
{

const char* kMarker = "BH-SHEETDATA-5c1e9a";

struct NodeWriter : pugi::xml_writer {
    std::string s;
    void write(const void* d, size_t z) override { s.append(static_cast<const char*>(d), z); }
};

CellType parseType(const char* t, const std::string& where)
{
    if (!*t || std::strcmp(t, "n") == 0)
        return TNone;
    if (std::strcmp(t, "s") == 0)
        return TShared;
    if (std::strcmp(t, "str") == 0)
        return TStr;
    if (std::strcmp(t, "inlineStr") == 0)
        return TInline;
    if (std::strcmp(t, "b") == 0)
        return TBool;
    if (std::strcmp(t, "e") == 0)
        return TError;
    if (std::strcmp(t, "d") == 0)
        return TDate;
    throw Error("セルの型 \"" + std::string(t) + "\" が不正です: " + where);
}

const char* typeName(CellType t)
{
    switch (t) {
    case TShared:
        return "s";
    case TStr:
        return "str";
    case TInline:
        return "inlineStr";
    case TBool:
        return "b";
    case TError:
        return "e";
    case TDate:
        return "d";
    default:
        return nullptr;
    }
}

int parseIntAttr(const char* s, int lo, int hi, const std::string& what)
{
    int v = 0;
    auto len = std::strlen(s);
    auto res = std::from_chars(s, s + len, v);
    if (res.ec != std::errc() || res.ptr != s + len || v < lo || v > hi)
        throw Error(what + " の値 \"" + std::string(s) + "\" が不正です。");
    return v;
}

// A row height in points: Excel allows up to 409 points; anything else keeps the default.
double heightPoints(const char* text, double fallback)
{
    double h = 0;
    auto len = std::strlen(text);
    auto res = std::from_chars(text, text + len, h);
    if (res.ec != std::errc() || !(h >= 0 && h <= 409.5))
        return fallback;
    return h;
}

} // namespace

void SheetImpl::checkRow(int r) const
{
    if (r < 1 || r > kMaxRow)
        throw Error("行番号 " + std::to_string(r) + " が範囲外です（シート " + name + "）。");
}

void SheetImpl::checkCol(int c) const
{
    if (c < 1 || c > kMaxCol)
        throw Error("列番号 " + std::to_string(c) + " が範囲外です（シート " + name + "）。");
}

void SheetImpl::load()
{
    Package& pkg = *book->pkg;
    Package::parseXml(doc, pkg.read(part), part);
    auto root = doc.document_element();
    if (std::strcmp(lname(root), "worksheet") != 0)
        throw Error("パーツ " + part + " はワークシートではありません（シート " + name + "）。");
    auto sd = childL(root, "sheetData");
    if (!sd)
        sd = ensureChild(root, "sheetData", kWorksheetOrder);
    int prevRow = 0;
    for (auto rn : sd.children()) {
        if (rn.type() != pugi::node_element || std::strcmp(lname(rn), "row") != 0)
            continue;
        Row row;
        auto ra = rn.attribute("r");
        row.r = ra ? parseIntAttr(ra.value(), 1, kMaxRow, part + " の行番号") : prevRow + 1;
        if (row.r <= prevRow || row.r > kMaxRow)
            throw Error("パーツ " + part + " の行の順序が不正です（行 " + std::to_string(row.r) + "）。");
        prevRow = row.r;
        auto attrs = std::make_shared<Attrs>();
        for (auto a : rn.attributes()) {
            if (std::strcmp(a.name(), "r") == 0 || std::strcmp(a.name(), "spans") == 0)
                continue;
            attrs->emplace_back(a.name(), a.value());
        }
        row.attrs = std::move(attrs);
        int prevCol = 0;
        for (auto cn : rn.children()) {
            if (cn.type() != pugi::node_element || std::strcmp(lname(cn), "c") != 0)
                continue;
            Cell c;
            auto cr = cn.attribute("r");
            if (cr) {
                int rr = 0, cc = 0;
                if (!parseCellRef(cr.value(), rr, cc) || rr != row.r)
                    throw Error("パーツ " + part + " のセル番地 \"" + std::string(cr.value()) +
                                "\" が不正です。");
                c.col = cc;
            } else {
                c.col = prevCol + 1;
            }
            if (c.col <= prevCol || c.col > kMaxCol)
                throw Error("パーツ " + part + " のセルの順序が不正です（行 " + std::to_string(row.r) +
                            "）。");
            prevCol = c.col;
            std::shared_ptr<CellExtra> x;
            for (auto a : cn.attributes()) {
                const char* an = a.name();
                if (std::strcmp(an, "r") == 0)
                    continue;
                if (std::strcmp(an, "s") == 0)
                    c.style = parseIntAttr(a.value(), 0, 1 << 24, part + " のスタイル番号");
                else if (std::strcmp(an, "t") == 0)
                    c.type = parseType(a.value(), part);
                else {
                    if (!x)
                        x = std::make_shared<CellExtra>();
                    x->attrs.emplace_back(an, a.value());
                }
            }
            for (auto ch : cn.children()) {
                if (ch.type() != pugi::node_element)
                    continue;
                const char* ln = lname(ch);
                if (std::strcmp(ln, "v") == 0) {
                    c.hasV = true;
                    c.v = ch.text().get();
                } else if (std::strcmp(ln, "f") == 0) {
                    if (!x)
                        x = std::make_shared<CellExtra>();
                    x->hasF = true;
                    x->f = ch.text().get();
                    for (auto a : ch.attributes())
                        x->fAttrs.emplace_back(a.name(), a.value());
                } else {
                    if (!x)
                        x = std::make_shared<CellExtra>();
                    NodeWriter w;
                    ch.print(w, "", pugi::format_raw);
                    x->raw += w.s;
                }
            }
            if (x && x->hasF)
                hasFormulas = true;
            c.x = std::move(x);
            row.cells.push_back(std::move(c));
        }
        rows.push_back(std::move(row));
    }
    sd.remove_children();

    // Shared formulas become plain ones so that rows can move freely.
    struct Master {
        int r, c;
        std::string f;
    };
    std::map<std::string, Master> masters;
    for (auto& row : rows)
        for (auto& c : row.cells)
            if (c.hasFormula()) {
                std::string t, si;
                bool hasRef = false;
                for (auto& [k, v] : c.x->fAttrs) {
                    if (k == "t")
                        t = v;
                    else if (k == "si")
                        si = v;
                    else if (k == "ref")
                        hasRef = true;
                }
                if (t == "shared" && hasRef && !c.x->f.empty())
                    masters[si] = {row.r, c.col, c.x->f};
            }
    if (!masters.empty() || true) {
        for (auto& row : rows)
            for (auto& c : row.cells) {
                if (!c.hasFormula())
                    continue;
                bool shared = false;
                std::string si;
                for (auto& [k, v] : c.x->fAttrs) {
                    if (k == "t" && v == "shared")
                        shared = true;
                    if (k == "si")
                        si = v;
                }
                if (!shared)
                    continue;
                auto it = masters.find(si);
                if (it == masters.end())
                    throw Error("パーツ " + part + " の共有数式（si=" + si + "）に元の数式がありません。");
                auto nx = std::make_shared<CellExtra>(*c.x);
                Attrs fa;
                for (auto& kv : nx->fAttrs)
                    if (kv.first != "t" && kv.first != "si" && kv.first != "ref")
                        fa.push_back(kv);
                nx->fAttrs = std::move(fa);
                if (!(it->second.r == row.r && it->second.c == c.col)) {
                    auto shifted = shiftForCopy(it->second.f, row.r - it->second.r, c.col - it->second.c);
                    nx->f = shifted ? *shifted : it->second.f;
                }
                c.x = std::move(nx);
            }
    }

    if (auto mc = childL(root, "mergeCells")) {
        for (auto m : mc.children()) {
            if (m.type() != pugi::node_element)
                continue;
            CellRange cr;
            if (!parseRange(m.attribute("ref").value(), cr.firstRow, cr.firstCol, cr.lastRow, cr.lastCol))
                throw Error("パーツ " + part + " の結合セル \"" + std::string(m.attribute("ref").value()) +
                            "\" が不正です。");
            merges.push_back(cr);
        }
    }
    if (auto rb = childL(root, "rowBreaks")) {
        for (auto a : rb.attributes())
            if (std::strcmp(a.name(), "count") != 0 && std::strcmp(a.name(), "manualBreakCount") != 0)
                breaksAttrs.emplace_back(a.name(), a.value());
        for (auto b : rb.children()) {
            if (b.type() != pugi::node_element)
                continue;
            Break br;
            br.id = parseIntAttr(b.attribute("id").value(), 0, kMaxRow - 1, part + " の改ページ位置");
            for (auto a : b.attributes())
                if (std::strcmp(a.name(), "id") != 0)
                    br.attrs.emplace_back(a.name(), a.value());
            breaks.push_back(std::move(br));
        }
        std::sort(breaks.begin(), breaks.end(), [](auto& a, auto& b) { return a.id < b.id; });
    }
    if (auto cols = childL(root, "cols"))
        for (auto c : cols.children())
            if (c.attribute("style"))
                colStyles.push_back(
                    {{parseIntAttr(c.attribute("min").value(), 1, kMaxCol, part + " の列番号"),
                      parseIntAttr(c.attribute("max").value(), 1, kMaxCol, part + " の列番号")},
                     parseIntAttr(c.attribute("style").value(), 0, 1 << 24, part + " の列の書式")});
    if (auto fmt = childL(root, "sheetFormatPr"); fmt.attribute("defaultRowHeight"))
        defaultRowPoints = heightPoints(fmt.attribute("defaultRowHeight").value(), defaultRowPoints);
    // the parts hanging on the sheet; the legacy drawing of the header and footer is not one of them
    std::string legacyId;
    if (auto ld = childL(root, "legacyDrawing"))
        for (auto a : ld.attributes())
            if (std::strstr(a.name(), ":id"))
                legacyId = a.value();
    auto endsWith = [](const std::string& t, const char* tail) {
        std::size_t n = std::strlen(tail);
        return t.size() >= n && t.compare(t.size() - n, n, tail) == 0;
    };
    for (auto& rel : pkg.relationships(part)) {
        if (rel.external)
            continue;
        auto take = [&](SheetPart::Kind kind) {
            SheetPart p;
            p.kind = kind;
            p.part = rel.resolved;
            return p;
        };
        if (endsWith(rel.type, "/drawing"))
            drawing = take(SheetPart::Drawing);
        else if (endsWith(rel.type, "/comments"))
            comments = take(SheetPart::Comments);
        else if (endsWith(rel.type, "/vmlDrawing") && rel.id == legacyId)
            vml = take(SheetPart::Vml);
        else if (endsWith(rel.type, "/table"))
            tables.push_back(take(SheetPart::Table));
        else if (endsWith(rel.type, "/threadedComment"))
            threaded.push_back(take(SheetPart::Threaded));
        else if (endsWith(rel.type, "/pivotTable"))
            hasPivotTable = true;
    }
    loaded = true;
}

double SheetImpl::rowPoints(int r) const
{
    const Row* row = findRow(r);
    return row ? rowPoints(*row) : defaultRowPoints;
}

double SheetImpl::rowPoints(const Row& row) const
{
    double h = defaultRowPoints;
    for (auto& [k, v] : *row.attrs) {
        if (k == "hidden" && (v == "1" || v == "true"))
            return 0;
        if (k == "ht")
            h = heightPoints(v.c_str(), defaultRowPoints);
    }
    return h;
}

long long SheetImpl::rowEmu(int r) const
{
    return std::llround(rowPoints(r) * 12700);
}

Row* SheetImpl::findRow(int r)
{
    auto it = std::lower_bound(rows.begin(), rows.end(), r, [](const Row& a, int v) { return a.r < v; });
    return it != rows.end() && it->r == r ? &*it : nullptr;
}

const Row* SheetImpl::findRow(int r) const
{
    auto it = std::lower_bound(rows.begin(), rows.end(), r, [](const Row& a, int v) { return a.r < v; });
    return it != rows.end() && it->r == r ? &*it : nullptr;
}

Row& SheetImpl::rowFor(int r)
{
    auto it = std::lower_bound(rows.begin(), rows.end(), r, [](const Row& a, int v) { return a.r < v; });
    if (it != rows.end() && it->r == r)
        return *it;
    Row nr;
    nr.r = r;
    nr.attrs = std::make_shared<Attrs>();
    return *rows.insert(it, std::move(nr));
}

const Cell* SheetImpl::findCell(int r, int c) const
{
    const Row* row = findRow(r);
    if (!row)
        return nullptr;
    auto it = std::lower_bound(row->cells.begin(), row->cells.end(), c,
                               [](const Cell& a, int v) { return a.col < v; });
    return it != row->cells.end() && it->col == c ? &*it : nullptr;
}

int SheetImpl::defaultStyle(int r, int c)
{
    if (const Row* row = findRow(r)) {
        std::string s, custom;
        for (auto& [k, v] : *row->attrs) {
            if (k == "s")
                s = v;
            else if (k == "customFormat")
                custom = v;
        }
        int style = -1;
        auto res = std::from_chars(s.data(), s.data() + s.size(), style);
        if (res.ec == std::errc() && style >= 0 && style <= 1 << 24 && (custom == "1" || custom == "true"))
            return style;
    }
    for (auto& [range, style] : colStyles)
        if (c >= range.first && c <= range.second)
            return style;
    return -1;
}

Cell& SheetImpl::cellFor(int r, int c)
{
    checkRow(r);
    checkCol(c);
    checkHeld(r);
    int style = -1;
    if (!findCell(r, c))
        style = defaultStyle(r, c);
    Row& row = rowFor(r);
    auto it = std::lower_bound(row.cells.begin(), row.cells.end(), c,
                               [](const Cell& a, int v) { return a.col < v; });
    if (it != row.cells.end() && it->col == c)
        return *it;
    Cell nc;
    nc.col = c;
    nc.style = style;
    return *row.cells.insert(it, std::move(nc));
}

int SheetImpl::lastUsedRow() const
{
    // Formatting alone does not count: some programs write formatted rows down to the last row.
    for (auto it = rows.rbegin(); it != rows.rend(); ++it)
        for (auto& c : it->cells)
            if (c.holdsValue())
                return it->r;
    return written ? written->extent.maxR : 0;
}

void SheetImpl::applyStyle(int r, int c, const StylePatch& p)
{
    Cell& cell = cellFor(r, c);
    int base = cell.style < 0 ? 0 : cell.style;
    cell.style = book->editStyles().derive(base, p);
    dirty = true;
}

namespace
{

// The element names of a sheet, with the namespace prefix its root element uses.
struct SheetTags {
    std::string prefix, row, c, v, f;
    explicit SheetTags(const pugi::xml_document& doc)
    {
        std::string rn = doc.document_element().name();
        if (auto colon = rn.find(':'); colon != std::string::npos)
            prefix = rn.substr(0, colon + 1);
        row = prefix + "row";
        c = prefix + "c";
        v = prefix + "v";
        f = prefix + "f";
    }
};

void appendNumber(std::string& out, int n)
{
    char num[16];
    out.append(num, std::to_chars(num, num + sizeof num, n).ptr);
}

void appendAttrs(std::string& out, const Attrs& attrs)
{
    for (auto& [k, v] : attrs) {
        out += ' ';
        out += k;
        out += "=\"";
        escapeXml(out, v, true);
        out += '"';
    }
}

void appendRow(std::string& body, const Row& row, const SheetTags& tags)
{
    body += '<';
    body += tags.row;
    body += " r=\"";
    appendNumber(body, row.r);
    body += '"';
    appendAttrs(body, *row.attrs);
    if (row.cells.empty()) {
        body += "/>";
        return;
    }
    body += '>';
    for (auto& c : row.cells) {
        body += '<';
        body += tags.c;
        body += " r=\"";
        if (c.col <= 26)
            body += static_cast<char>('A' + c.col - 1);
        else
            body += columnName(c.col);
        appendNumber(body, row.r);
        body += '"';
        if (c.style >= 0) {
            body += " s=\"";
            appendNumber(body, c.style);
            body += '"';
        }
        if (const char* t = typeName(c.type)) {
            body += " t=\"";
            body += t;
            body += '"';
        }
        if (c.x)
            appendAttrs(body, c.x->attrs);
        bool hasF = c.hasFormula();
        bool hasRaw = c.x && !c.x->raw.empty();
        if (!hasF && !c.hasV && !hasRaw) {
            body += "/>";
            continue;
        }
        body += '>';
        if (hasF) {
            body += '<';
            body += tags.f;
            appendAttrs(body, c.x->fAttrs);
            if (c.x->f.empty()) {
                body += "/>";
            } else {
                body += '>';
                escapeXml(body, c.x->f, false);
                body += "</";
                body += tags.f;
                body += '>';
            }
        }
        if (c.hasV) {
            body += '<';
            body += tags.v;
            body += '>';
            escapeXml(body, c.v, false);
            body += "</";
            body += tags.v;
            body += '>';
        }
        if (hasRaw)
            body += c.x->raw;
        body += "</";
        body += tags.c;
        body += '>';
    }
    body += "</";
    body += tags.row;
    body += '>';
}

// Rows are handed on in pieces of about this size.
constexpr std::size_t kPiece = 65536;

} // namespace

void SheetImpl::Extent::add(const Row& row)
{
    if (row.cells.empty())
        return;
    if (!minR)
        minR = row.r;
    maxR = row.r;
    int c1 = row.cells.front().col, c2 = row.cells.back().col;
    if (!minC || c1 < minC)
        minC = c1;
    maxC = std::max(maxC, c2);
}

void SheetImpl::checkHeld(int r) const
{
    if (written && r < written->below)
        throw Error("シート " + name + " の行 " + std::to_string(r) +
                    " は書き出し済みのため、読み書きできません。");
}

bool SheetImpl::writeOutAbove(int row)
{
    ensureLoaded();
    // Formulas may refer to any row, and pictures and notes are placed by the heights of the rows
    // they span: such sheets keep every row until the save.
    if (hasFormulas || drawing || vml)
        return false;
    if (!written)
        written = std::make_unique<WrittenRows>();
    if (row <= written->below)
        return true;
    auto end = std::lower_bound(rows.begin(), rows.end(), row, [](const Row& a, int v) { return a.r < v; });
    book->checkRows(*this, static_cast<std::size_t>(end - rows.begin()));
    SheetTags tags(doc);
    std::string buf;
    for (auto it = rows.begin(); it != end; ++it) {
        written->extent.add(*it);
        appendRow(buf, *it, tags);
        if (buf.size() >= kPiece) {
            written->stream.add(buf);
            buf.clear();
        }
    }
    written->stream.add(buf);
    rows.erase(rows.begin(), end);
    written->below = row;
    dirty = true;
    return true;
}

void SheetImpl::writeTo(PartSink& out)
{
    auto root = doc.document_element();
    // dimension
    Extent e = written ? written->extent : Extent{};
    for (auto& row : rows)
        e.add(row);
    if (auto dim = childL(root, "dimension")) {
        std::string ref = e.minR ? cellName(e.minR, e.minC) : "A1";
        if (e.minR && (e.maxR != e.minR || e.maxC != e.minC))
            ref += ":" + cellName(e.maxR, e.maxC);
        dim.attribute("ref") ? dim.attribute("ref").set_value(ref.c_str())
                             : dim.append_attribute("ref").set_value(ref.c_str());
    }
    SheetTags tags(doc);
    const std::string& prefix = tags.prefix;
    // merges
    if (auto mc = childL(root, "mergeCells"))
        root.remove_child(mc);
    if (!merges.empty()) {
        auto mc = ensureChild(root, "mergeCells", kWorksheetOrder);
        mc.append_attribute("count") = static_cast<unsigned long long>(merges.size());
        for (auto& m : merges) {
            std::string ref = cellName(m.firstRow, m.firstCol) + ":" + cellName(m.lastRow, m.lastCol);
            mc.append_child((prefix + "mergeCell").c_str()).append_attribute("ref") = ref.c_str();
        }
    }
    // row breaks
    if (auto rb = childL(root, "rowBreaks"))
        root.remove_child(rb);
    if (!breaks.empty()) {
        auto rb = ensureChild(root, "rowBreaks", kWorksheetOrder);
        int manual = 0;
        for (auto& b : breaks) {
            bool man = false;
            for (auto& [k, v] : b.attrs)
                if (k == "man" && (v == "1" || v == "true"))
                    man = true;
            manual += man;
        }
        rb.append_attribute("count") = static_cast<unsigned long long>(breaks.size());
        rb.append_attribute("manualBreakCount") = manual;
        for (auto& [k, v] : breaksAttrs)
            rb.append_attribute(k.c_str()) = v.c_str();
        for (auto& b : breaks) {
            auto n = rb.append_child((prefix + "brk").c_str());
            n.append_attribute("id") = b.id;
            for (auto& [k, v] : b.attrs)
                n.append_attribute(k.c_str()) = v.c_str();
        }
    }
    auto sd = childL(root, "sheetData");
    sd.remove_children();
    sd.append_child(pugi::node_pcdata).set_value(kMarker);
    std::string xml = Package::serialize(doc);
    sd.remove_children();
    std::string tag = "<" + prefix + "sheetData>" + kMarker + "</" + prefix + "sheetData>";
    auto pos = xml.find(tag);
    if (pos == std::string::npos)
        throw Error("シート " + name + " を書き出せません（内部エラー）。");

    std::string body;
    body.reserve(kPiece + 4096);
    body.append(xml, 0, pos);
    body += "<" + prefix + "sheetData>";
    if (written) {
        out.write(body);
        body.clear();
        out.write(written->stream.piece());
    }
    for (auto& row : rows) {
        appendRow(body, row, tags);
        if (body.size() >= kPiece) {
            out.write(body);
            body.clear();
        }
    }
    body += "</" + prefix + "sheetData>";
    body.append(xml, pos + tag.size(), std::string::npos);
    out.write(body);
}

} // namespace xlsx::detail
