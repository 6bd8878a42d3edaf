// The objects hanging on a sheet: pictures and shapes (its drawing), notes (comments with their
// shapes in the legacy drawing), form controls and tables. What each does when rows are inserted,
// as the spreadsheet does it, and how a page form carries them to every page.
#include "Internal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <set>

namespace xlsx::detail
{

namespace
{

constexpr long long kMaxCoordinate = 27273042316900LL; // the largest drawing coordinate in EMU
constexpr long long kMaxObjectId = 0x7FFFFFFF;         // picture and shape ids, table ids
constexpr long long kMaxVmlOffset = 1 << 20;           // pixels inside a cell
constexpr int kShapesPerBlock = 1024;                  // legacy drawings number shapes in blocks
const char* kTableType = "application/vnd.openxmlformats-officedocument.spreadsheetml.table+xml";
const char* kTableRel = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/table";

bool is(const pugi::xml_node& n, const char* local)
{
    return n.type() == pugi::node_element && std::strcmp(lname(n), local) == 0;
}

[[noreturn]] void outOfRange(const std::string& part, const char* what, std::string_view value)
{
    throw Error("パーツ " + part + " の" + what + "の値 \"" + std::string(value.substr(0, 40)) +
                "\" が範囲外です。");
}

long long number(std::string_view text, long long lo, long long hi, const std::string& part, const char* what)
{
    std::string_view t = text;
    while (!t.empty() && (t.front() == ' ' || t.front() == '\n' || t.front() == '\r' || t.front() == '\t'))
        t.remove_prefix(1);
    while (!t.empty() && (t.back() == ' ' || t.back() == '\n' || t.back() == '\r' || t.back() == '\t'))
        t.remove_suffix(1);
    long long v = 0;
    auto res = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || res.ec != std::errc() || res.ptr != t.data() + t.size() || v < lo || v > hi)
        outOfRange(part, what, text);
    return v;
}

bool isAnchor(const pugi::xml_node& n)
{
    return is(n, "twoCellAnchor") || is(n, "oneCellAnchor") || is(n, "absoluteAnchor");
}

// The anchors of one top-level element of a drawing: itself, or those an mc:AlternateContent
// offers as its choice and its fallback.
std::vector<pugi::xml_node> anchorsIn(const pugi::xml_node& top)
{
    std::vector<pugi::xml_node> v;
    if (isAnchor(top))
        v.push_back(top);
    else if (is(top, "AlternateContent"))
        walkElements(top, [&](pugi::xml_node c) {
            if (isAnchor(c))
                v.push_back(c);
            return isAnchor(c);
        });
    return v;
}

template <class Fn> void forEachAnchor(pugi::xml_node root, Fn fn)
{
    for (auto top : root.children())
        for (auto a : anchorsIn(top))
            fn(a);
}

// The relationship target that leads from part `from` to part `to`.
std::string relativeTarget(const std::string& from, const std::string& to)
{
    std::size_t common = 0;
    for (std::size_t i = 0; i < from.size() && i < to.size() && from[i] == to[i]; ++i)
        if (from[i] == '/')
            common = i + 1;
    std::string up;
    for (std::size_t i = common; i < from.size(); ++i)
        if (from[i] == '/')
            up += "../";
    return up + to.substr(common);
}

enum class Fit { TwoCell, OneCell, Absolute };

// How an anchor follows inserted rows: move and size with cells, move only, or stay.
Fit fitOf(const pugi::xml_node& anchor)
{
    if (is(anchor, "oneCellAnchor"))
        return Fit::OneCell;
    if (is(anchor, "absoluteAnchor"))
        return Fit::Absolute;
    std::string editAs = anchor.attribute("editAs").value();
    return editAs == "oneCell" ? Fit::OneCell : editAs == "absolute" ? Fit::Absolute : Fit::TwoCell;
}

// A from/to marker of an anchor: row (0-based) and offset into it in EMU.
struct Marker {
    pugi::xml_node rowNode, offNode;
    explicit operator bool() const { return bool(rowNode); }
    int row() const { return rowNode.text().as_int(); }
    long long off() const { return offNode.text().as_llong(); }
    void set(int row, std::optional<long long> off = std::nullopt) const
    {
        rowNode.text().set(row);
        if (off && offNode)
            offNode.text().set(*off);
    }
};

Marker marker(const pugi::xml_node& anchor, const char* which)
{
    auto m = childL(anchor, which);
    return {childL(m, "row"), childL(m, "rowOff")};
}

int shifted(int row0, int count)
{
    return std::min(row0 + count, kMaxRow - 1);
}

bool holdsChart(const pugi::xml_node& anchor)
{
    bool chart = false;
    walkElements(anchor, [&](pugi::xml_node c) {
        if (is(c, "graphicData") && std::strstr(c.attribute("uri").value(), "/chart"))
            chart = true;
        return chart;
    });
    return chart;
}

// Shapes of a legacy drawing: notes and form controls, with the numbers of their anchor
// (left column, offset, top row, offset, right column, offset, bottom row, offset).
struct VmlShape {
    pugi::xml_node shape, data, anchor, row, col;
    bool note() const { return std::strcmp(data.attribute("ObjectType").value(), "Note") == 0; }
    std::vector<long long> numbers() const
    {
        std::vector<long long> v;
        std::string_view t = anchor.text().get();
        while (!t.empty()) {
            auto comma = t.find(',');
            std::string_view piece = t.substr(0, comma);
            while (!piece.empty() && std::strchr(" \r\n\t", piece.front()))
                piece.remove_prefix(1);
            long long n = 0;
            std::from_chars(piece.data(), piece.data() + piece.size(), n);
            v.push_back(n);
            if (comma == std::string_view::npos)
                break;
            t.remove_prefix(comma + 1);
        }
        return v;
    }
    void setNumbers(const std::vector<long long>& v) const
    {
        std::string s;
        for (std::size_t i = 0; i < v.size(); ++i)
            s += (i ? ", " : "") + std::to_string(v[i]);
        anchor.text().set(s.c_str());
    }
    // Moves the shape down by count rows when rows are inserted at top: a note with its cell, a
    // control with its cells (growing when they straddle). True when it moved.
    bool moveRows(int top, int count) const
    {
        if (note() ? row && row.text().as_int() + 1 >= top : anchor && numbers()[2] + 1 >= top) {
            moveBy(count);
            return true;
        }
        if (note() || !anchor || numbers()[6] + 1 < top)
            return false;
        auto v = numbers();
        v[6] = shifted(static_cast<int>(v[6]), count);
        setNumbers(v);
        return true;
    }
    void moveBy(int d) const
    {
        if (row)
            row.text().set(shifted(row.text().as_int(), d));
        if (!anchor)
            return;
        auto v = numbers();
        v[2] = shifted(static_cast<int>(v[2]), d);
        v[6] = shifted(static_cast<int>(v[6]), d);
        setNumbers(v);
    }
};

VmlShape shapeOf(const pugi::xml_node& shape)
{
    auto data = childL(shape, "ClientData");
    return {shape, data, childL(data, "Anchor"), childL(data, "Row"), childL(data, "Column")};
}

template <class Fn> void forEachShape(pugi::xml_node root, Fn fn)
{
    walkElements(root, [&](pugi::xml_node c) {
        if (!is(c, "shape"))
            return false;
        if (auto s = shapeOf(c); s.data)
            fn(s);
        return true;
    });
}

// The number of a shape id such as "_x0000_s1025".
long long shapeNumber(const char* id)
{
    const char* s = std::strstr(id, "_s");
    long long n = -1;
    if (s)
        std::from_chars(s + 2, id + std::strlen(id), n);
    return n;
}

std::vector<long long> blockList(std::string_view t)
{
    std::vector<long long> blocks;
    while (!t.empty()) {
        auto comma = t.find(',');
        long long b = 0;
        std::string_view piece = t.substr(0, comma);
        while (!piece.empty() && piece.front() == ' ')
            piece.remove_prefix(1);
        if (std::from_chars(piece.data(), piece.data() + piece.size(), b).ec == std::errc())
            blocks.push_back(b);
        if (comma == std::string_view::npos)
            break;
        t.remove_prefix(comma + 1);
    }
    return blocks;
}

pugi::xml_node idMap(const pugi::xml_node& vmlRoot)
{
    pugi::xml_node found;
    walkElements(vmlRoot, [&](pugi::xml_node c) {
        if (is(c, "idmap"))
            found = c;
        return bool(found);
    });
    return found;
}

// The highest shape number block any legacy drawing of the package uses (read as text: drawings
// of other sheets are not parsed).
long long highestBlock(Package& pkg)
{
    long long high = 0;
    for (auto& n : pkg.partNames()) {
        if (lowerAscii(n).size() < 4 || lowerAscii(n).compare(n.size() - 4, 4, ".vml") != 0)
            continue;
        const std::string& text = pkg.read(n);
        for (auto at = text.find("idmap"); at != std::string::npos; at = text.find("idmap", at + 5)) {
            auto q = text.find("data=", at);
            if (q == std::string::npos || q + 6 > text.size())
                break;
            char quote = text[q + 5];
            auto end = text.find(quote, q + 6);
            if (end == std::string::npos)
                break;
            for (long long b : blockList(std::string_view(text).substr(q + 6, end - q - 6)))
                high = std::max(high, std::min(b, kMaxObjectId));
        }
    }
    return high;
}

std::string prefixOf(const pugi::xml_node& n)
{
    std::string nm = n.name();
    auto colon = nm.find(':');
    return colon == std::string::npos ? std::string() : nm.substr(0, colon + 1);
}

pugi::xml_attribute relId(const pugi::xml_node& n)
{
    for (auto a : n.attributes())
        if (std::strstr(a.name(), ":id"))
            return a;
    return {};
}

} // namespace

void dropRevisionIds(pugi::xml_node n)
{
    auto drop = [](pugi::xml_node e) {
        for (auto a = e.first_attribute(); a;) {
            auto next = a.next_attribute();
            if (std::strcmp(a.name(), "xr:uid") == 0 || std::strcmp(a.name(), "xr3:uid") == 0)
                e.remove_attribute(a);
            a = next;
        }
        return false;
    };
    drop(n);
    walkElements(n, drop);
}

// ---------------------------------------------------------------------------------------------
// Row geometry

RowGeometry::RowGeometry(const SheetImpl& s) : def_(std::llround(s.defaultRowPoints * 12700))
{
    extra_.push_back(0);
    // pasted pages share their rows' attributes with the form: each set is read once
    std::unordered_map<const Attrs*, long long> heights;
    for (auto& row : s.rows) {
        auto [it, fresh] = heights.try_emplace(row.attrs.get(), 0);
        if (fresh)
            it->second = std::llround(s.rowPoints(row) * 12700);
        long long h = it->second;
        if (h != def_) {
            rows_.push_back(row.r);
            extra_.push_back(extra_.back() + h - def_);
        }
    }
}

void RowGeometry::insert(int at, const std::vector<long long>& heights)
{
    at_ = at;
    block_.assign(1, 0);
    for (long long h : heights)
        block_.push_back(block_.back() + h);
}

long long RowGeometry::plain(int r) const
{
    auto i = std::lower_bound(rows_.begin(), rows_.end(), r) - rows_.begin();
    return static_cast<long long>(r - 1) * def_ + extra_[static_cast<std::size_t>(i)];
}

long long RowGeometry::top(int r) const
{
    int n = block_.empty() ? 0 : static_cast<int>(block_.size()) - 1;
    if (n == 0 || r <= at_)
        return plain(r);
    if (r <= at_ + n)
        return plain(at_) + block_[static_cast<std::size_t>(r - at_)];
    return plain(r - n) + block_.back();
}

int RowGeometry::rowAt(long long y, long long& offset) const
{
    int lo = 1, hi = kMaxRow;
    while (lo < hi) {
        int mid = lo + (hi - lo + 1) / 2;
        if (top(mid) <= y)
            lo = mid;
        else
            hi = mid - 1;
    }
    offset = y - top(lo);
    return lo;
}

// ---------------------------------------------------------------------------------------------
// Loading and checking

pugi::xml_document& SheetImpl::partDoc(SheetPart& p)
{
    if (p.doc)
        return *p.doc;
    auto doc = std::make_unique<pugi::xml_document>();
    const std::string& bytes = book->pkg->read(p.part);
    try {
        Package::parseXml(*doc, bytes, p.part);
    } catch (const Error&) {
        // legacy drawings of older Excel versions carry HTML line breaks in their note boxes
        if (p.kind != SheetPart::Vml || bytes.find("<br>") == std::string::npos)
            throw;
        std::string repaired = bytes;
        for (auto at = repaired.find("<br>"); at != std::string::npos; at = repaired.find("<br>", at))
            repaired.replace(at, 4, "<br/>");
        Package::parseXml(*doc, repaired, p.part);
    }
    auto root = doc->document_element();
    const std::string& pn = p.part;
    auto rowOf = [&](const char* ref, const char* what) {
        int r = 0, c = 0;
        if (!parseCellRef(ref, r, c))
            outOfRange(pn, what, ref);
        return r;
    };
    switch (p.kind) {
    case SheetPart::Drawing:
        forEachAnchor(root, [&](pugi::xml_node a) {
            for (const char* which : {"from", "to"})
                if (auto m = childL(a, which)) {
                    number(childL(m, "col").text().get(), 0, kMaxCol - 1, pn, "図の位置（列）");
                    number(childL(m, "row").text().get(), 0, kMaxRow - 1, pn, "図の位置（行）");
                    number(childL(m, "colOff").text().get(), -kMaxCoordinate, kMaxCoordinate, pn, "図の位置");
                    number(childL(m, "rowOff").text().get(), -kMaxCoordinate, kMaxCoordinate, pn, "図の位置");
                }
            for (const char* which : {"pos", "ext"})
                if (auto m = childL(a, which))
                    for (auto at : m.attributes())
                        number(at.value(), -kMaxCoordinate, kMaxCoordinate, pn, "図の位置と大きさ");
        });
        walkElements(root, [&](pugi::xml_node c) {
            if (is(c, "cNvPr"))
                p.maxId =
                    std::max(p.maxId, number(c.attribute("id").value(), 0, kMaxObjectId, pn, "図の番号"));
            return false;
        });
        break;
    case SheetPart::Comments:
        for (auto c : childL(root, "commentList").children())
            if (is(c, "comment"))
                rowOf(c.attribute("ref").value(), "コメントのセル");
        break;
    case SheetPart::Threaded:
        for (auto c : root.children())
            if (is(c, "threadedComment"))
                rowOf(c.attribute("ref").value(), "コメントのセル");
        break;
    case SheetPart::Vml:
        for (long long b : blockList(idMap(root).attribute("data").value()))
            if (b < 0 || b > kMaxObjectId / kShapesPerBlock - 1)
                outOfRange(pn, "図形番号の範囲", std::to_string(b));
        forEachShape(root, [&](const VmlShape& s) {
            if (s.shape.attribute("id"))
                if (long long n = shapeNumber(s.shape.attribute("id").value()); n > kMaxObjectId)
                    outOfRange(pn, "図形の番号", s.shape.attribute("id").value());
            if (s.row)
                number(s.row.text().get(), 0, kMaxRow - 1, pn, "コメントの行");
            if (s.col)
                number(s.col.text().get(), 0, kMaxCol - 1, pn, "コメントの列");
            if (!s.anchor)
                return;
            auto v = s.numbers();
            if (v.size() != 8)
                outOfRange(pn, "図形の位置", s.anchor.text().get());
            for (int i = 0; i < 8; ++i)
                if (v[i] < 0 || v[i] > (i % 2 ? kMaxVmlOffset : i % 4 == 0 ? kMaxCol - 1 : kMaxRow - 1))
                    outOfRange(pn, "図形の位置", s.anchor.text().get());
        });
        break;
    case SheetPart::Table: {
        auto ref = root.attribute("ref").value();
        if (!parseRange(ref, p.ref.firstRow, p.ref.firstCol, p.ref.lastRow, p.ref.lastCol))
            outOfRange(pn, "テーブルの範囲", ref);
        number(root.attribute("id").value(), 1, kMaxObjectId, pn, "テーブルの番号");
        p.header = !root.attribute("headerRowCount") ||
                   number(root.attribute("headerRowCount").value(), 0, 1, pn, "テーブルの見出し行数") == 1;
        int cols = 0;
        for (auto c : childL(root, "tableColumns").children())
            cols += is(c, "tableColumn");
        if (cols != p.ref.lastCol - p.ref.firstCol + 1)
            throw Error("パーツ " + pn + " のテーブルの列数が範囲と合いません。");
        break;
    }
    }
    p.doc = std::move(doc);
    return *p.doc;
}

std::vector<SheetPart*> SheetImpl::allParts()
{
    std::vector<SheetPart*> v{&drawing, &comments, &vml};
    for (auto& t : tables)
        v.push_back(&t);
    for (auto& t : threaded)
        v.push_back(&t);
    return v;
}

void SheetImpl::loadParts()
{
    for (SheetPart* p : allParts())
        if (*p)
            partDoc(*p);
    // form controls of newer files sit in the sheet itself
    walkElements(doc.document_element(), [&](pugi::xml_node c) {
        if (!is(c, "anchor"))
            return false;
        for (const char* which : {"from", "to"})
            if (auto row = childL(childL(c, which), "row"))
                number(row.text().get(), 0, kMaxRow - 1, part, "コントロールの位置（行）");
        return true;
    });
}

bool SheetImpl::partsDirty() const
{
    bool d = drawing.dirty || comments.dirty || vml.dirty;
    for (auto& t : tables)
        d = d || t.dirty;
    return d || std::any_of(threaded.begin(), threaded.end(), [](auto& t) { return t.dirty; });
}

void SheetImpl::flushParts()
{
    struct Writer : pugi::xml_writer {
        std::string out;
        void write(const void* data, size_t size) override
        {
            out.append(static_cast<const char*>(data), size);
        }
    };
    for (SheetPart* p : allParts())
        if (p->dirty) {
            // the spreadsheet reads legacy drawings as HTML: an empty <div/> is written out in full
            Writer w;
            p->doc->save(w, "",
                         pugi::format_raw |
                             (p->kind == SheetPart::Vml ? pugi::format_no_empty_element_tags : 0),
                         pugi::encoding_utf8);
            book->pkg->write(p->part, std::move(w.out));
            p->dirty = false;
        }
}

// ---------------------------------------------------------------------------------------------
// Inserting rows

void SheetImpl::checkObjects(int top, int count)
{
    loadParts();
    auto check = [&](pugi::xml_node list) {
        for (auto c : list.children()) {
            int r = 0, col = 0;
            if (parseCellRef(c.attribute("ref").value(), r, col) && r >= top && r > kMaxRow - count)
                throw Error("シート \"" + name + "\" に行を挿入すると、セル " + c.attribute("ref").value() +
                            " のコメントが最終行（1048576行）を超えます。");
        }
    };
    if (comments)
        check(childL(partDoc(comments).document_element(), "commentList"));
    for (auto& t : threaded)
        check(partDoc(t).document_element());
}

void SheetImpl::moveObjects(int top, int count, const std::vector<long long>& inserted)
{
    auto refShift = [&](pugi::xml_node n) {
        if (auto r = shiftSqrefForInsert(n.attribute("ref").value(), top, count)) {
            n.attribute("ref").set_value(r->c_str());
            return true;
        }
        return false;
    };
    if (drawing) {
        // the rows as they are and as they will be, measured only for an object that needs it
        std::optional<RowGeometry> before, after;
        auto measure = [&] {
            if (before)
                return;
            before.emplace(*this);
            after.emplace(*this);
            std::vector<long long> heights = inserted;
            heights.resize(static_cast<std::size_t>(count), std::llround(defaultRowPoints * 12700));
            after->insert(top, heights);
        };
        forEachAnchor(partDoc(drawing).document_element(), [&](pugi::xml_node a) {
            Fit fit = fitOf(a);
            Marker from = marker(a, "from"), to = marker(a, "to");
            if (fit == Fit::Absolute || !from)
                return;
            if (from.row() + 1 >= top) { // below the insertion: the whole object moves
                from.set(shifted(from.row(), count));
                if (to)
                    to.set(shifted(to.row(), count));
            } else if (!to || to.row() + 1 < top || (to.row() + 1 == top && to.off() <= 0)) {
                return;                       // above the insertion
            } else if (fit == Fit::TwoCell) { // sized with its cells: it grows by the rows inserted
                to.set(shifted(to.row(), count));
            } else { // moved but not sized with its cells: the bottom edge stays where it was
                measure();
                long long off = 0;
                int row = after->rowAt(before->top(to.row() + 1) + to.off(), off);
                to.set(row - 1, off);
            }
            drawing.dirty = true;
        });
    }
    if (vml)
        forEachShape(partDoc(vml).document_element(),
                     [&](const VmlShape& s) { vml.dirty = s.moveRows(top, count) || vml.dirty; });
    if (comments)
        for (auto c : childL(partDoc(comments).document_element(), "commentList").children())
            comments.dirty = refShift(c) || comments.dirty;
    for (auto& t : threaded)
        for (auto c : partDoc(t).document_element().children())
            t.dirty = refShift(c) || t.dirty;
    for (auto& t : tables) {
        auto root = partDoc(t).document_element();
        if (t.ref.firstRow < top)
            continue; // a table the insertion would split was refused before
        for (auto n : {root, childL(root, "autoFilter"), childL(root, "sortState")})
            if (n)
                refShift(n);
        if (auto ss = childL(root, "sortState"))
            for (auto c : ss.children())
                refShift(c);
        t.ref.firstRow += count;
        t.ref.lastRow += count;
        t.dirty = true;
    }
    // form controls and embedded objects of newer files: anchored in the sheet
    walkElements(doc.document_element(), [&](pugi::xml_node c) {
        if (!is(c, "anchor"))
            return false;
        Marker from{childL(childL(c, "from"), "row"), {}}, to{childL(childL(c, "to"), "row"), {}};
        if (from && from.row() + 1 >= top) {
            from.set(shifted(from.row(), count));
            if (to)
                to.set(shifted(to.row(), count));
        } else if (to && to.row() + 1 >= top) {
            to.set(shifted(to.row(), count));
        }
        return true;
    });
}

// ---------------------------------------------------------------------------------------------
// Page forms

void SheetImpl::snapshotObjects(FormData& fd, pugi::xml_node holder)
{
    loadParts();
    RowGeometry geo(*this);
    for (int r = fd.firstRow; r <= fd.lastRow; ++r)
        fd.rowHeights.push_back(rowEmu(r));
    auto inForm = [&](int row) { return row >= fd.firstRow && row <= fd.lastRow; };
    const long long formTop = geo.top(fd.firstRow), formBottom = geo.top(fd.lastRow + 1);
    if (drawing) {
        auto anchors = holder.append_child("anchors");
        for (auto top : partDoc(drawing).document_element().children()) {
            auto inner = anchorsIn(top);
            if (inner.empty())
                continue;
            Marker from = marker(inner[0], "from");
            long long y = from ? geo.top(from.row() + 1) + from.off()
                               : childL(inner[0], "pos").attribute("y").as_llong();
            if (from ? !inForm(from.row() + 1) : y < formTop || y >= formBottom)
                continue;
            if (holdsChart(top)) {
                book->warn(
                    "ページの書式にあるグラフは1ページ目にだけ残ります（2ページ目以降には写しません）。");
                continue;
            }
            // where each copy goes: by its top edge, and for one that keeps its size, by its height
            auto copies = anchorsIn(anchors.append_copy(top));
            for (std::size_t i = 0; i < inner.size() && i < copies.size(); ++i) {
                Marker f = marker(inner[i], "from"), t = marker(inner[i], "to");
                if (!f)
                    copies[i].append_attribute("bh-y") =
                        childL(inner[i], "pos").attribute("y").as_llong() - formTop;
                else if (t && fitOf(inner[i]) != Fit::TwoCell)
                    copies[i].append_attribute("bh-height") =
                        geo.top(t.row() + 1) + t.off() - geo.top(f.row() + 1) - f.off();
            }
        }
    }
    if (comments) {
        auto notes = holder.append_child("notes");
        auto croot = partDoc(comments).document_element();
        std::vector<std::string> authors;
        for (auto a : childL(croot, "authors").children())
            authors.push_back(a.text().get());
        for (auto c : childL(croot, "commentList").children()) {
            int r = 0, col = 0;
            if (!parseCellRef(c.attribute("ref").value(), r, col) || !inForm(r))
                continue;
            auto author = c.attribute("authorId").as_ullong(0);
            if (author < authors.size() && authors[author].rfind("tc=", 0) == 0) {
                book->warn("ページの書式にあるスレッド形式のコメントは1ページ目にだけ残ります。");
                continue;
            }
            notes.append_copy(c);
            if (vml)
                forEachShape(partDoc(vml).document_element(), [&](const VmlShape& sh) {
                    if (sh.note() && sh.row.text().as_int() == r - 1 && sh.col.text().as_int() == col - 1)
                        notes.append_copy(sh.shape);
                });
        }
    }
    bool controls = false;
    if (vml)
        forEachShape(partDoc(vml).document_element(), [&](const VmlShape& sh) {
            controls = controls || (!sh.note() && sh.anchor && inForm(static_cast<int>(sh.numbers()[2]) + 1));
        });
    walkElements(doc.document_element(), [&](pugi::xml_node c) {
        if (!is(c, "anchor"))
            return false;
        controls = controls || inForm(childL(childL(c, "from"), "row").text().as_int() + 1);
        return true;
    });
    if (controls)
        book->warn("ページの書式にあるフォームコントロールは1ページ目にだけ残ります（2ページ目以降には写しま"
                   "せん）。");
    auto tablesHolder = holder.append_child("tables");
    for (auto& t : tables) {
        auto root = partDoc(t).document_element();
        if (!inForm(t.ref.firstRow) || !inForm(t.ref.lastRow))
            continue;
        if (!book->pkg->relationships(t.part).empty()) {
            book->warn("外部データにつながるテーブル \"" +
                       std::string(root.attribute("displayName").value()) + "\" は1ページ目にだけ残ります。");
            continue;
        }
        tablesHolder.append_copy(root).append_attribute("bh-part") = t.part.c_str();
    }
}

// What pasting the form needs beyond the insertion, checked before anything changes: free ids and
// room for the priorities of the conditional formats each page adds.
void SheetImpl::checkPaste(const FormData& fd)
{
    for (auto n : doc.document_element().children())
        if (is(n, "conditionalFormatting"))
            for (auto rule : n.children())
                if (auto p = rule.attribute("priority"))
                    number(p.value(), 0, 1 << 30, part, "条件付き書式の優先順位");
    auto holder = fd.extras->first_child();
    long long ids = drawing.maxId;
    walkElements(holder.child("anchors"), [&](pugi::xml_node c) {
        ids += is(c, "cNvPr");
        return false;
    });
    if (ids > kMaxObjectId)
        throw Error("シート \"" + name + "\" の図の番号が上限を超えるため、ページを追加できません。");
    if (holder.child("tables").first_child())
        book->tableCatalog();
    auto shape = [](pugi::xml_node c) { return is(c, "shape"); };
    if (holder.child("notes").find_child(shape) && book->highestShapeBlock < 0)
        book->highestShapeBlock = highestBlock(*book->pkg);
}

void SheetImpl::pasteObjects(const FormData& fd, int topRow)
{
    auto holder = fd.extras->first_child();
    const int d = topRow - fd.firstRow;
    if (auto anchors = holder.child("anchors"); anchors.first_child() && drawing) {
        std::optional<RowGeometry> geometry; // measured only for an object that needs it
        auto geo = [&]() -> const RowGeometry& {
            if (!geometry)
                geometry.emplace(*this);
            return *geometry;
        };
        auto root = partDoc(drawing).document_element();
        for (auto top : anchors.children()) {
            auto copy = root.append_copy(top);
            for (auto a : anchorsIn(copy)) {
                Marker from = marker(a, "from"), to = marker(a, "to");
                if (from)
                    from.set(shifted(from.row(), d));
                if (auto h = a.attribute("bh-height")) {
                    long long off = 0;
                    int row = geo().rowAt(geo().top(from.row() + 1) + from.off() + h.as_llong(), off);
                    to.set(row - 1, off);
                    a.remove_attribute(h);
                } else if (to) {
                    to.set(shifted(to.row(), d));
                }
                if (auto y = a.attribute("bh-y")) {
                    childL(a, "pos").attribute("y").set_value(geo().top(topRow) + y.as_llong());
                    a.remove_attribute(y);
                }
            }
            walkElements(copy, [&](pugi::xml_node c) {
                if (is(c, "cNvPr") && c.attribute("id"))
                    c.attribute("id").set_value(++drawing.maxId);
                return false;
            });
        }
        drawing.dirty = true;
    }
    if (auto notes = holder.child("notes"); notes.first_child() && comments) {
        auto list = childL(partDoc(comments).document_element(), "commentList");
        pugi::xml_node shapes = vml ? partDoc(vml).document_element() : pugi::xml_node();
        long long next = 0;
        auto idmap = idMap(shapes);
        auto blocks = blockList(idmap.attribute("data").value());
        forEachShape(shapes, [&](const VmlShape& sh) {
            next = std::max(next, shapeNumber(sh.shape.attribute("id").value()));
        });
        for (auto n : notes.children()) {
            if (is(n, "comment")) {
                auto c = list.append_copy(n);
                if (auto r = shiftSqrefForCopy(c.attribute("ref").value(), d))
                    c.attribute("ref").set_value(r->c_str());
                dropRevisionIds(c);
                comments.dirty = true;
                continue;
            }
            if (!shapes)
                continue;
            auto copy = shapes.append_copy(n);
            shapeOf(copy).moveBy(d);
            // shapes are numbered in blocks of 1024 that the drawing lists in its id map
            ++next;
            if (!std::any_of(blocks.begin(), blocks.end(),
                             [&](long long b) { return next / kShapesPerBlock == b; })) {
                long long high = book->highestShapeBlock;
                for (long long b : blocks)
                    high = std::max(high, b);
                blocks.push_back(high + 1);
                book->highestShapeBlock = high + 1;
                std::string data = idmap.attribute("data").value();
                data += (data.empty() ? "" : ",") + std::to_string(blocks.back());
                idmap.attribute("data").set_value(data.c_str());
                next = blocks.back() * kShapesPerBlock + 1;
            }
            std::string id = "_x0000_s" + std::to_string(next);
            copy.attribute("id").set_value(id.c_str());
            if (auto spid = copy.attribute("o:spid"))
                spid.set_value(id.c_str());
            vml.dirty = true;
        }
    }
    for (auto t : holder.child("tables").children())
        pasteTable(t, d, topRow, topRow + fd.lastRow - fd.firstRow);
}

void BookImpl::tableCatalog()
{
    if (tableNames)
        return;
    std::set<std::string> names;
    long long last = 0;
    for (auto& n : pkg->partNames())
        if (pkg->contentType(n) == kTableType) {
            pugi::xml_document t;
            Package::parseXml(t, pkg->read(n), n);
            auto root = t.document_element();
            last = std::max(last, number(root.attribute("id").value(), 1, kMaxObjectId, n, "テーブルの番号"));
            names.insert(lowerAscii(root.attribute("name").value()));
            names.insert(lowerAscii(root.attribute("displayName").value()));
        }
    if (auto dn = definedNames(false))
        for (auto n : dn.children())
            names.insert(lowerAscii(n.attribute("name").value()));
    if (last >= kMaxObjectId)
        throw Error("テーブルの番号が上限を超えるため、ページを追加できません。");
    tableNames = std::move(names);
    lastTableId = last;
}

// A table of the page form copied for a further page (rows first..last): a part of its own with a
// new id and name, its range moved with the page, its column names as the copied header cells
// hold them.
void SheetImpl::pasteTable(pugi::xml_node form, int d, int first, int last)
{
    Package& pkg = *book->pkg;
    std::string from = form.attribute("bh-part").value();
    std::string dir = from.substr(0, from.rfind('/') + 1);
    std::string part;
    for (int k = 1; part.empty() || pkg.has(part); ++k)
        part = dir + "table" + std::to_string(k) + ".xml";
    std::string old = form.attribute("displayName").value(), fresh;
    for (int k = 2; fresh.empty() || book->tableNames->count(lowerAscii(fresh)); ++k)
        fresh = old + "_" + std::to_string(k);
    book->tableNames->insert(lowerAscii(fresh));

    SheetPart t;
    t.kind = SheetPart::Table;
    t.part = part;
    t.doc = std::make_unique<pugi::xml_document>();
    auto decl = t.doc->append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "UTF-8";
    decl.append_attribute("standalone") = "yes";
    auto root = t.doc->append_copy(form);
    root.remove_attribute("bh-part");
    dropRevisionIds(root);
    root.attribute("id").set_value(++book->lastTableId);
    root.attribute("name").set_value(fresh.c_str());
    root.attribute("displayName").set_value(fresh.c_str());
    auto move = [&](pugi::xml_node n) {
        if (auto r = n ? shiftSqrefForCopy(n.attribute("ref").value(), d) : std::nullopt)
            n.attribute("ref").set_value(r->c_str());
    };
    move(root);
    move(childL(root, "autoFilter"));
    if (auto ss = childL(root, "sortState")) {
        move(ss);
        for (auto c : ss.children())
            move(c);
    }
    walkElements(root, [&](pugi::xml_node c) {
        if (is(c, "calculatedColumnFormula") || is(c, "totalsRowFormula")) {
            // named after the copy, and reading the copy's rows as the cells' formulas do
            std::string f = c.text().get();
            if (auto renamed = renameTableInFormula(f, old, fresh))
                f = std::move(*renamed);
            if (auto moved = shiftForCopy(f, d, 0))
                f = std::move(*moved);
            c.text().set(f.c_str());
        }
        return false;
    });
    parseRange(root.attribute("ref").value(), t.ref.firstRow, t.ref.firstCol, t.ref.lastRow, t.ref.lastCol);
    t.header = !root.attribute("headerRowCount") || root.attribute("headerRowCount").as_int() == 1;
    // the page's own formulas that name the table now name its copy
    for (auto& row : rows)
        if (row.r >= first && row.r <= last)
            for (auto& c : row.cells)
                if (c.hasFormula())
                    if (auto f = renameTableInFormula(c.x->f, old, fresh)) {
                        auto nx = std::make_shared<CellExtra>(*c.x);
                        nx->f = std::move(*f);
                        c.x = std::move(nx);
                    }
    pkg.setOverride(part, kTableType);
    std::string id = pkg.addRelationship(this->part, kTableRel, relativeTarget(this->part, part));
    pkg.write(part, Package::serialize(*t.doc));
    auto list = ensureChild(doc.document_element(), "tableParts", kWorksheetOrder);
    pugi::xml_attribute model = relId(list.first_child());
    auto entry = list.append_child((prefixOf(list) + "tablePart").c_str());
    entry.append_attribute(model ? model.name() : "r:id") = id.c_str();
    int count = 0;
    for (auto c : list.children())
        count += is(c, "tablePart");
    setCount(list, count);
    tables.push_back(std::move(t));
    dirty = true;
}

// ---------------------------------------------------------------------------------------------
// Table headers

bool SheetImpl::inTableHeader(int r, int c)
{
    for (auto& t : tables) {
        partDoc(t);
        if (t.header && t.ref.firstRow == r && c >= t.ref.firstCol && c <= t.ref.lastCol)
            return true;
    }
    return false;
}

std::optional<std::string> SheetImpl::headerWritten(int r, int c, const std::string& text)
{
    for (auto& t : tables) {
        partDoc(t);
        if (!t.header || t.ref.firstRow != r || c < t.ref.firstCol || c > t.ref.lastCol)
            continue;
        std::vector<pugi::xml_node> cols;
        for (auto n : childL(t.doc->document_element(), "tableColumns").children())
            if (is(n, "tableColumn"))
                cols.push_back(n);
        std::size_t index = static_cast<std::size_t>(c - t.ref.firstCol);
        // the spreadsheet keeps column names unique and never empty, and the header cell shows it
        auto taken = [&](const std::string& candidate) {
            for (std::size_t i = 0; i < cols.size(); ++i)
                if (i != index &&
                    lowerAscii(decodeEscapes(cols[i].attribute("name").value())) == lowerAscii(candidate))
                    return true;
            return false;
        };
        std::string base = text.empty() ? "列" + std::to_string(index + 1) : text, name = base;
        for (int k = 2; taken(name); ++k)
            name = base + std::to_string(k);
        cols[index].attribute("name").set_value(encodeEscapes(name).c_str());
        t.dirty = true;
        if (name != text)
            return name;
    }
    return std::nullopt;
}

} // namespace xlsx::detail
