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
#include <string>
#include <string_view>
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
    std::size_t size() const { return items_.size(); }
    std::string text(std::size_t index) const;
    int intern(const std::string& text); // plain text entry
    void addRefs(long long n)
    {
        refDelta_ += n;
        dirty_ = dirty_ || n != 0;
    }
    bool dirty() const { return dirty_; }
    void flush(Package& pkg);

private:
    std::string part_;
    pugi::xml_document doc_;
    std::vector<pugi::xml_node> items_;
    std::unordered_map<std::string, int> plain_;
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
    int numFmtId(const std::string& code);
    std::string numFmtCode(int xf) const;
    std::string codeOfId(int numFmtId) const;
    HAlign align(int xf) const;
    bool strike(int xf) const;
    std::optional<std::uint32_t> fill(int xf) const;
    bool dirty() const { return dirty_; }
    void flush(Package& pkg);

private:
    static constexpr long long kMaxNumFmtId = 1 << 20;
    void index();
    void ensureBase();
    void indexAll();
    int deriveChanged(int base, const StylePatch& patch);
    int intern(pugi::xml_node container, std::vector<pugi::xml_node>& list,
               std::unordered_map<std::string, int>& map, pugi::xml_node candidate);
    std::string part_;
    pugi::xml_document doc_;
    std::vector<pugi::xml_node> fonts_, fills_, xfs_;
    std::unordered_map<std::string, int> fontMap_, fillMap_, xfMap_;
    std::map<int, std::string> numFmts_;
    std::map<std::pair<int, std::string>, int> memo_;
    bool interned_ = false;
    bool dirty_ = false;
};

struct BookImpl;

struct FormData {
    const BookImpl* book = nullptr;
    int firstRow = 0, lastRow = 0;
    std::vector<Row> rows;
    std::vector<CellRange> merges;
    std::vector<int> breakRows; // rows that start a page inside the form
    long long sharedRefs = 0;
    bool hasFormulas = false;
    std::shared_ptr<pugi::xml_document> extras; // <cf>, <dv>, <hl>, <anchors> holders
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
    std::string drawingPart;
    std::unique_ptr<pugi::xml_document> drawing;
    bool drawingDirty = false;

    void load();
    void ensureLoaded()
    {
        if (!loaded)
            load();
    }
    std::string serialize();

    Row* findRow(int r);
    const Row* findRow(int r) const;
    Row& rowFor(int r);
    const Cell* findCell(int r, int c) const;
    Cell& cellFor(int r, int c);
    int defaultStyle(int r, int c);
    int lastUsedRow() const;
    pugi::xml_document& drawingDoc();

    void insertRows(int top, int count);
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

    void open(const std::filesystem::path& path);
    void validate();
    void save(const std::filesystem::path& target);
    bool modified() const;
    SharedStrings& strings();
    Styles& editStyles(); // the style table, created when the workbook has none
    pugi::xml_node definedNames(bool create);
    std::vector<std::string> chartParts();
    pugi::xml_document& chart(const std::string& part);
    // Passes every formula of every chart through fn and keeps what it changes.
    void rewriteChartFormulas(const std::function<std::optional<std::string>(std::string_view)>& fn);
};

std::string cellText(const BookImpl& book, const Cell& c);

} // namespace xlsx::detail
