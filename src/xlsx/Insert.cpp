// Inserting rows into a sheet and pasting a page form: everything below the insertion moves.
#include "Internal.h"

#include <algorithm>
#include <cstring>

namespace xlsx
{

using namespace detail;

namespace detail
{

bool rewriteSheetXml(pugi::xml_node root, const RefRewrite& fn, bool sqrefToo, const RefRewrite& sq)
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

} // namespace detail

// ---------------------------------------------------------------------------------------------
// PageForm

int PageForm::rowCount() const
{
    return data_ ? data_->lastRow - data_->firstRow + 1 : 0;
}

// ---------------------------------------------------------------------------------------------
// Worksheet: rows and page forms

void Worksheet::insertRows(int row, int count)
{
    loadedSheet(impl_).insertRows(row, count);
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
    auto cf = holder.append_child("cf"), dv = holder.append_child("dv"), hl = holder.append_child("hl"),
         xdv = holder.append_child("xdv");
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
    for (auto& m : s.merges)
        if ((m.firstRow < firstRow && m.lastRow >= firstRow) ||
            (m.firstRow <= lastRow && m.lastRow > lastRow))
            throw Error("シート \"" + s.name + "\" の結合セル " + cellName(m.firstRow, m.firstCol) + ":" +
                        cellName(m.lastRow, m.lastCol) + " が1ページの行（" + std::to_string(firstRow) +
                        "〜" + std::to_string(lastRow) +
                        "行）の境目で切れます。１頁行数を結合セルの下端に合わせるか、"
                        "結合を解除して下さい。");
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
        } else if (std::strcmp(ln, "extLst") == 0) {
            // validations of the newer kind (lists read from other sheets): each extension with the
            // ones inside the form
            for (auto ext : n.children()) {
                auto list = childL(ext, "dataValidations");
                if (!list)
                    continue;
                auto copy = xdv.append_copy(ext);
                auto copied = childL(copy, "dataValidations");
                std::vector<pugi::xml_node> outside;
                for (auto v : copied.children())
                    if (!inside(childL(v, "sqref").text().get()))
                        outside.push_back(v);
                for (auto v : outside)
                    copied.remove_child(v);
                if (!copied.find_child([](pugi::xml_node c) { return c.type() == pugi::node_element; }))
                    xdv.remove_child(copy);
            }
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
    for (auto ext : holder.child("xdv").children()) {
        // into the sheet's extension of the same kind, made again when the sheet no longer has it
        auto extLst = ensureChild(root, "extLst", kWorksheetOrder);
        pugi::xml_node target;
        for (auto e : extLst.children())
            if (std::strcmp(e.attribute("uri").value(), ext.attribute("uri").value()) == 0 &&
                childL(e, "dataValidations"))
                target = childL(e, "dataValidations");
        auto from = childL(ext, "dataValidations");
        std::vector<pugi::xml_node> added;
        if (target) {
            for (auto v : from.children())
                added.push_back(target.append_copy(v));
        } else {
            target = childL(extLst.append_copy(ext), "dataValidations");
            for (auto v : target.children())
                added.push_back(v);
        }
        for (auto v : added) {
            dropRevisionIds(v);
            walkElements(v, [&](pugi::xml_node c) {
                const char* ln = lname(c);
                if (std::strcmp(ln, "sqref") == 0) {
                    if (auto r = shiftSqrefForCopy(c.text().get(), d))
                        c.text().set(r->c_str());
                } else if (std::strcmp(ln, "f") == 0) {
                    if (auto nf = shiftForCopy(c.text().get(), d, 0))
                        c.text().set(nf->c_str());
                } else {
                    return false;
                }
                return true;
            });
        }
        int cnt = 0;
        for (auto c : target.children())
            cnt += c.type() == pugi::node_element;
        setCount(target, cnt);
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

} // namespace xlsx
