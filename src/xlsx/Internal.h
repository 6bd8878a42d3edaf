// Internal model of an opened workbook: shared by the engine's source files only.
#pragma once

#include "Formula.h"
#include "Package.h"
#include "Workbook.h"

#include <pugixml.hpp>

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace xlsx::detail
{

using Attrs = std::vector<std::pair<std::string, std::string>>;

enum CellType : std::uint8_t { TNone, TShared, TStr, TInline, TBool, TError, TNumber, TDate };

struct CellExtra {
    Attrs attrs; // cell attributes other than r, s, t
    bool hasF = false;
    Attrs fAttrs;
    std::string f;
    std::string raw; // other children (is, extLst) as XML
};

struct Cell {
    int col = 0;
    int style = -1; // -1: no s attribute
    CellType type = TNone;
    bool hasV = false;
    std::string v;
    std::shared_ptr<CellExtra> x;
    bool hasFormula() const { return x && x->hasF; }
    // A value, a formula or inline text: what cannot silently fall off the end of the sheet.
    bool holdsValue() const { return hasV || hasFormula() || (x && !x->raw.empty()); }
};

struct Row {
    int r = 0;
    std::shared_ptr<const Attrs> attrs; // row attributes other than r and spans
    std::vector<Cell> cells;
};

struct Break {
    int id = 0;  // break after row id (0-based row of the break line)
    Attrs attrs; // other attributes than id
};

// Local name of an element ("x:row" -> "row").
inline const char* lname(const pugi::xml_node& n)
{
    const char* nm = n.name();
    const char* c = std::strchr(nm, ':');
    return c ? c + 1 : nm;
}

// Sets a list element's count attribute, adding it when the element has none.
inline void setCount(pugi::xml_node list, long long count)
{
    if (auto a = list.attribute("count"))
        a.set_value(count);
    else
        list.append_attribute("count") = count;
}

// Visits the elements below n, depth first; visit returns true when it has dealt with an element and
// false to look inside it.
template <class Visit> void walkElements(pugi::xml_node n, Visit visit)
{
    std::vector<pugi::xml_node> stack{n};
    while (!stack.empty()) {
        auto cur = stack.back();
        stack.pop_back();
        for (auto c : cur.children())
            if (c.type() == pugi::node_element && !visit(c))
                stack.push_back(c);
    }
}
pugi::xml_node childL(const pugi::xml_node& n, const char* local);
// Inserts (or finds) a child at its schema position given the order list.
pugi::xml_node ensureChild(pugi::xml_node parent, const char* local, const std::vector<const char*>& order);
extern const std::vector<const char*> kWorksheetOrder;
extern const std::vector<const char*> kWorkbookOrder;
extern const std::vector<const char*> kStyleOrder;

std::string decodeEscapes(std::string_view s); // _xHHHH_ -> characters
std::string encodeEscapes(std::string_view s); // control characters -> _xHHHH_
void escapeXml(std::string& out, std::string_view s, bool attribute);
std::string numberText(double v);

class SharedStrings
{
public:
    void load(Package& pkg, const std::string& part);
    void create(Package& pkg, const std::string& workbookPart);
    bool exists() const { return !part_.empty(); }
    std::size_t size() const { return items_.size() + (keyEntry_.size() - firstAddedKey_); }
    std::string text(std::size_t index) const;
    int intern(std::string_view text); // plain text entry
    void addRefs(long long n)
    {
        refDelta_ += n;
        dirty_ = dirty_ || n != 0;
    }
    bool dirty() const { return dirty_; }
    void flush(Package& pkg);

private:
    void index();
    std::string_view key(std::size_t k) const
    {
        const std::size_t start = k == 0 ? 0 : keyEnds_[k - 1];
        return std::string_view(keyTexts_).substr(start, keyEnds_[k] - start);
    }
    void addKey(std::string_view text, int entry);
    void rehash(std::size_t slots);
    void writeTo(PartSink& out);

    std::string part_;
    pugi::xml_document doc_; // the part as read; entries added since are kept below
    std::vector<pugi::xml_node> items_;
    // The texts of the plain entries, one after another (keys): first those of the part as read,
    // then every entry added, in order. A hash table of key numbers finds a text's entry.
    std::string keyTexts_;
    std::vector<std::uint32_t> keyEnds_;
    std::vector<int> keyEntry_;
    std::size_t firstAddedKey_ = 0;
    std::vector<std::uint32_t> slots_; // key + 1; 0 is free
    bool indexed_ = false;
    bool dirty_ = false;
    long long refDelta_ = 0;
};

struct StylePatch {
    int numFmt = -1;
    int align = -1; // HAlign
    int strike = -1;
    long long fill = -1; // rgb
    std::string key() const;
};

class Styles
{
public:
    void load(Package& pkg, const std::string& part);
    void create(Package& pkg, const std::string& workbookPart);
    bool loaded() const { return !part_.empty(); }
    std::size_t xfCount() const { return xfs_.size(); }
    int derive(int base, const StylePatch& patch);
    int numFmtId(std::string_view code);
    std::string numFmtCode(int xf) const;
    std::string codeOfId(int numFmtId) const;
    HAlign align(int xf) const;
    bool strike(int xf) const;
    bool showsOnPaper(int xf) const; // a border or a fill: seen even on an empty cell
    std::optional<std::uint32_t> fill(int xf) const;
    bool dirty() const { return dirty_; }
    void flush(Package& pkg);

private:
    static constexpr long long kMaxNumFmtId = 1 << 20;
    void index();
    void ensureBase();
    void indexAll();
    int deriveOnce(int base, const StylePatch& patch);
    int deriveChanged(int base, const StylePatch& patch);
    int intern(pugi::xml_node container, std::vector<pugi::xml_node>& list,
               std::unordered_map<std::string, int>& map, pugi::xml_node candidate);
    std::string part_;
    pugi::xml_document doc_;
    std::vector<pugi::xml_node> fonts_, fills_, xfs_;
    std::unordered_map<std::string, int> fontMap_, fillMap_, xfMap_;
    std::map<int, std::string> numFmts_;
    std::map<std::pair<int, std::string>, int> memo_;
    // derive's answers by base and patch (numFmt, align, strike, fill), and the last format looked up.
    std::map<std::tuple<int, int, int, int, long long>, int> derived_;
    std::string lastCode_;
    int lastCodeId_ = -1;
    bool interned_ = false;
    bool dirty_ = false;
};

struct BookImpl;
struct SheetImpl;

struct FormData {
    const BookImpl* book = nullptr;
    int firstRow = 0, lastRow = 0;
    std::vector<Row> rows;
    std::vector<CellRange> merges;
    std::vector<int> breakRows; // rows that start a page inside the form
    long long sharedRefs = 0;
    bool hasFormulas = false;
    std::shared_ptr<pugi::xml_document> extras; // <cf>, <dv>, <hl>, <anchors>, <notes>, <tables> holders
    std::vector<long long> rowHeights;          // EMU of every form row, for the objects pasted with it
};

// A part hanging on a sheet (its drawing, its notes and their shapes, a table), parsed when first
// needed; every number the engine computes with is checked then, before anything is edited.
struct SheetPart {
    enum Kind { Drawing, Comments, Vml, Table, Threaded };
    Kind kind = Drawing;
    std::string part;
    std::unique_ptr<pugi::xml_document> doc;
    bool dirty = false;
    CellRange ref;       // tables: the table's range
    bool header = true;  // tables: the first row holds the column names
    long long maxId = 0; // drawings: the highest picture id
    explicit operator bool() const { return !part.empty(); }
};

// Vertical positions on a sheet in EMU (12700 a point), from its row heights; a block of inserted
// rows can be laid in without changing the sheet, to see where things will be after an insertion.
class RowGeometry
{
public:
    explicit RowGeometry(const SheetImpl& s);
    void insert(int at, const std::vector<long long>& heights);
    long long top(int r) const; // top edge of row r (1..kMaxRow + 1)
    int rowAt(long long y, long long& offset) const;

private:
    long long def_ = 0;
    std::vector<int> rows_;        // rows of their own height
    std::vector<long long> extra_; // extra_[i]: sum of (height - default) of rows_[0..i)
    int at_ = 0;
    std::vector<long long> block_; // prefix sums of the inserted rows' heights
    long long plain(int r) const;
};

struct SheetImpl {
    BookImpl* book = nullptr;
    std::string name;
    std::string part;
    std::string rid;
    std::size_t index = 0;
    std::unique_ptr<Worksheet> handle;

    bool loaded = false;
    bool dirty = false;
    bool hasFormulas = false; // any formula cell was ever on the sheet
    pugi::xml_document doc;
    std::vector<Row> rows;
    std::vector<CellRange> merges;
    std::vector<Break> breaks;
    Attrs breaksAttrs;
    std::vector<std::pair<std::pair<int, int>, int>> colStyles; // (min,max) -> style
    double defaultRowPoints = 15;
    SheetPart drawing, comments, vml; // vml: the shapes of notes and form controls
    std::vector<SheetPart> tables, threaded;
    bool hasPivotTable = false;

    // The cells that rows span, 1-based; 0 when there is none.
    struct Extent {
        int minR = 0, maxR = 0, minC = 0, maxC = 0;
        void add(const Row& row);
    };
    // Rows written out ahead of the save: compressed into the part and no longer held.
    struct WrittenRows {
        int below = 1; // the first row still held
        Extent extent;
        DeflateStream stream;
    };
    std::unique_ptr<WrittenRows> written;

    void load();
    void ensureLoaded()
    {
        if (!loaded)
            load();
    }
    // Writes the part: the XML around the rows, the rows written out before and the rows held.
    void writeTo(PartSink& out);
    bool writeOutAbove(int row);
    void checkHeld(int r) const; // throws for a row that was written out

    Row* findRow(int r);
    const Row* findRow(int r) const;
    Row& rowFor(int r);
    const Cell* findCell(int r, int c) const;
    Cell& cellFor(int r, int c);
    int defaultStyle(int r, int c);
    int lastUsedRow() const;
    double rowPoints(int r) const; // height in points, 0 when hidden
    double rowPoints(const Row& row) const;
    long long rowEmu(int r) const;

    // Objects.cpp: the parts hanging on the sheet
    pugi::xml_document& partDoc(SheetPart& p);
    void loadParts();
    bool partsDirty() const;
    void flushParts();
    std::vector<SheetPart*> allParts();
    void checkObjects(int top, int count);
    void moveObjects(int top, int count, const std::vector<long long>& inserted);
    void snapshotObjects(FormData& fd, pugi::xml_node holder);
    void checkPaste(const FormData& fd);
    void pasteObjects(const FormData& fd, int topRow);
    void pasteTable(pugi::xml_node form, int d, int first, int last);
    bool inTableHeader(int r, int c);
    // After a write into a table's header cell: the column takes the cell's text as its name; the
    // name the cell must show instead when that text is empty or taken by another column.
    std::optional<std::string> headerWritten(int r, int c, const std::string& text);

    // Refusals of an insertion of count rows at top, before anything changes.
    void checkInsert(int top, int count);
    void insertRows(int top, int count, const std::vector<long long>& heights = {});
    void checkRow(int r) const;
    void checkCol(int c) const;
    void applyStyle(int r, int c, const StylePatch& p);
};

struct BookImpl {
    std::unique_ptr<Package> pkg;
    std::string workbookPart;
    pugi::xml_document wb;
    bool wbDirty = false;
    std::vector<std::unique_ptr<SheetImpl>> sheets;
    SharedStrings sst;
    Styles styles;
    std::vector<std::string> warnings;
    std::map<std::string, std::unique_ptr<pugi::xml_document>> charts;
    std::map<std::string, bool> chartsDirty;
    bool formulasMoved = false;
    bool valuesChanged = false;
    std::optional<std::vector<std::string>> pivotSources; // sheets pivot caches read from
    std::optional<std::set<std::string>> tableNames;      // table and defined names, lower case
    long long lastTableId = 0;                            // highest table id in the workbook
    long long highestShapeBlock = -1; // of the shape numbers legacy drawings use, once read

    void open(const std::filesystem::path& path);
    void validate();
    // Checks the first count rows of a sheet: order, cell order, style and shared-string numbers.
    void checkRows(const SheetImpl& s, std::size_t count) const;
    void save(const std::filesystem::path& target);
    bool modified() const;
    SharedStrings& strings();
    Styles& editStyles(); // the style table, created when the workbook has none
    pugi::xml_node definedNames(bool create);
    std::vector<std::string> chartParts();
    pugi::xml_document& chart(const std::string& part);
    void warn(const std::string& text);
    void tableCatalog(); // reads every table's id and name before new ones are made
    const std::vector<std::string>& pivotSourceSheets();
    // Passes every formula of every chart through fn and keeps what it changes.
    void rewriteChartFormulas(const std::function<std::optional<std::string>(std::string_view)>& fn);
};

std::string cellText(const BookImpl& book, const Cell& c);

// Drops the revision ids (xr:uid) of an element and of everything inside it, for a copy of it.
void dropRevisionIds(pugi::xml_node n);

// The sheet behind a worksheet handle, loaded; throws for a chart or dialog sheet.
SheetImpl& loadedSheet(SheetImpl* s);

// A rewrite of a formula or a range list: the new text, or nothing when it stays as it is.
using RefRewrite = std::function<std::optional<std::string>(std::string_view)>;
// Rewrites every formula-bearing node of a sheet's XML (conditional formats, validations,
// hyperlink locations, extension lists) with fn, and with sq the ranges they cover when sqrefToo;
// returns true when something changed.
bool rewriteSheetXml(pugi::xml_node root, const RefRewrite& fn, bool sqrefToo, const RefRewrite& sq);

} // namespace xlsx::detail
