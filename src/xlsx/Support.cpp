// XML helpers, shared strings and the style table.
#include "Internal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace xlsx::detail
{

const std::vector<const char*> kWorksheetOrder = {"sheetPr",
                                                  "dimension",
                                                  "sheetViews",
                                                  "sheetFormatPr",
                                                  "cols",
                                                  "sheetData",
                                                  "sheetCalcPr",
                                                  "sheetProtection",
                                                  "protectedRanges",
                                                  "scenarios",
                                                  "autoFilter",
                                                  "sortState",
                                                  "dataConsolidate",
                                                  "customSheetViews",
                                                  "mergeCells",
                                                  "phoneticPr",
                                                  "conditionalFormatting",
                                                  "dataValidations",
                                                  "hyperlinks",
                                                  "printOptions",
                                                  "pageMargins",
                                                  "pageSetup",
                                                  "headerFooter",
                                                  "rowBreaks",
                                                  "colBreaks",
                                                  "customProperties",
                                                  "cellWatches",
                                                  "ignoredErrors",
                                                  "smartTags",
                                                  "drawing",
                                                  "legacyDrawing",
                                                  "legacyDrawingHF",
                                                  "drawingHF",
                                                  "picture",
                                                  "oleObjects",
                                                  "controls",
                                                  "webPublishItems",
                                                  "tableParts",
                                                  "extLst"};
const std::vector<const char*> kWorkbookOrder = {"fileVersion",    "fileSharing",
                                                 "workbookPr",     "workbookProtection",
                                                 "bookViews",      "sheets",
                                                 "functionGroups", "externalReferences",
                                                 "definedNames",   "calcPr",
                                                 "oleSize",        "customWorkbookViews",
                                                 "pivotCaches",    "smartTagPr",
                                                 "smartTagTypes",  "webPublishing",
                                                 "fileRecoveryPr", "webPublishObjects",
                                                 "extLst"};
const std::vector<const char*> kStyleOrder = {"numFmts",      "fonts",   "fills",      "borders",
                                              "cellStyleXfs", "cellXfs", "cellStyles", "dxfs",
                                              "tableStyles",  "colors",  "extLst"};

pugi::xml_node childL(const pugi::xml_node& n, const char* local)
{
    for (auto c = n.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && std::strcmp(lname(c), local) == 0)
            return c;
    return {};
}

pugi::xml_node ensureChild(pugi::xml_node parent, const char* local, const std::vector<const char*>& order)
{
    if (auto c = childL(parent, local))
        return c;
    std::string prefix;
    std::string pn = parent.name();
    if (auto colon = pn.find(':'); colon != std::string::npos)
        prefix = pn.substr(0, colon + 1);
    std::size_t pos = 0;
    while (pos < order.size() && std::strcmp(order[pos], local) != 0)
        ++pos;
    for (auto c = parent.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element)
            continue;
        std::size_t cp = 0;
        while (cp < order.size() && std::strcmp(order[cp], lname(c)) != 0)
            ++cp;
        if (cp < order.size() && cp > pos)
            return parent.insert_child_before((prefix + local).c_str(), c);
    }
    return parent.append_child((prefix + local).c_str());
}

static bool isHex(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

static void appendUtf8(std::string& out, unsigned cp)
{
    if (cp < 0x80)
        out += static_cast<char>(cp);
    else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

std::string decodeEscapes(std::string_view s)
{
    if (s.find("_x") == std::string_view::npos)
        return std::string(s);
    std::string out;
    for (std::size_t i = 0; i < s.size();) {
        if (i + 7 <= s.size() && s[i] == '_' && s[i + 1] == 'x' && isHex(s[i + 2]) && isHex(s[i + 3]) &&
            isHex(s[i + 4]) && isHex(s[i + 5]) && s[i + 6] == '_') {
            unsigned cp = static_cast<unsigned>(std::stoul(std::string(s.substr(i + 2, 4)), nullptr, 16));
            appendUtf8(out, cp);
            i += 7;
        } else {
            out += s[i++];
        }
    }
    return out;
}

std::string encodeEscapes(std::string_view s)
{
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') {
            char buf[8];
            std::snprintf(buf, sizeof buf, "_x%04X_", c);
            out += buf;
        } else if (c == '_' && i + 7 <= s.size() && s[i + 1] == 'x' && isHex(s[i + 2]) && isHex(s[i + 3]) &&
                   isHex(s[i + 4]) && isHex(s[i + 5]) && s[i + 6] == '_') {
            out += "_x005F_";
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

void escapeXml(std::string& out, std::string_view s, bool attribute)
{
    // Most values (numbers, string indices, plain text) need nothing escaped.
    if (s.find_first_of(attribute ? std::string_view("&<>\"\r\n\t") : std::string_view("&<>\r")) ==
        std::string_view::npos) {
        out += s;
        return;
    }
    for (char c : s) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            if (attribute)
                out += "&quot;";
            else
                out += c;
            break;
        case '\r':
            out += "&#13;";
            break;
        case '\n':
            if (attribute)
                out += "&#10;";
            else
                out += c;
            break;
        case '\t':
            if (attribute)
                out += "&#9;";
            else
                out += c;
            break;
        default:
            out += c;
        }
    }
}

std::string numberText(double v)
{
    char buf[64];
    auto res = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, res.ptr);
}

// ---------------------------------------------------------------------------------------------
// Shared strings

void SharedStrings::load(Package& pkg, const std::string& part)
{
    part_ = part;
    Package::parseXml(doc_, pkg.read(part), part);
    for (auto si : doc_.document_element().children())
        if (si.type() == pugi::node_element && std::strcmp(lname(si), "si") == 0)
            items_.push_back(si);
}

// Starts a new part of the workbook: a document with its root element, named after kind in the
// workbook's folder (a number added when the name is taken).
static pugi::xml_node newWorkbookPart(Package& pkg, std::string& part, const std::string& workbookPart,
                                      pugi::xml_document& doc, const std::string& kind, const char* root)
{
    auto slash = workbookPart.rfind('/');
    std::string dir = slash == std::string::npos ? std::string() : workbookPart.substr(0, slash + 1);
    part = dir + kind + ".xml";
    for (int k = 2; pkg.has(part); ++k)
        part = dir + kind + std::to_string(k) + ".xml";
    auto decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "UTF-8";
    decl.append_attribute("standalone") = "yes";
    auto r = doc.append_child(root);
    r.append_attribute("xmlns") = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
    return r;
}

// Registers a part made by newWorkbookPart (content type, relationship from the workbook) and puts
// its first bytes into the package, so that the package is complete from here on.
static void addPart(Package& pkg, const std::string& part, const std::string& workbookPart,
                    const pugi::xml_document& doc, const std::string& kind)
{
    auto slash = workbookPart.rfind('/');
    std::size_t dir = slash == std::string::npos ? 0 : slash + 1;
    pkg.setOverride(part, "application/vnd.openxmlformats-officedocument.spreadsheetml." + kind + "+xml");
    pkg.addRelationship(workbookPart,
                        "http://schemas.openxmlformats.org/officeDocument/2006/relationships/" + kind,
                        part.substr(dir));
    pkg.write(part, Package::serialize(doc));
}

void SharedStrings::create(Package& pkg, const std::string& workbookPart)
{
    auto root = newWorkbookPart(pkg, part_, workbookPart, doc_, "sharedStrings", "sst");
    root.append_attribute("count") = "0";
    root.append_attribute("uniqueCount") = "0";
    addPart(pkg, part_, workbookPart, doc_, "sharedStrings");
    dirty_ = true;
}

static void collectText(const pugi::xml_node& n, std::string& out)
{
    for (auto c : n.children()) {
        if (c.type() != pugi::node_element)
            continue;
        const char* ln = lname(c);
        if (std::strcmp(ln, "t") == 0)
            out += c.text().get();
        else if (std::strcmp(ln, "r") == 0)
            collectText(c, out);
    }
}

std::string SharedStrings::text(std::size_t index) const
{
    if (index >= items_.size()) {
        const std::size_t k = firstAddedKey_ + (index - items_.size());
        return k < keyEntry_.size() ? std::string(key(k)) : std::string();
    }
    std::string out;
    collectText(items_[index], out);
    return decodeEscapes(out);
}

void SharedStrings::rehash(std::size_t count)
{
    slots_.assign(count, 0);
    for (std::size_t k = 0; k < keyEntry_.size(); ++k) {
        std::size_t i = std::hash<std::string_view>()(key(k)) & (count - 1);
        while (slots_[i])
            i = (i + 1) & (count - 1);
        slots_[i] = static_cast<std::uint32_t>(k + 1);
    }
}

void SharedStrings::addKey(std::string_view text, int entry)
{
    keyTexts_ += text;
    keyEnds_.push_back(static_cast<std::uint32_t>(keyTexts_.size()));
    keyEntry_.push_back(entry);
    if (keyEntry_.size() * 2 > slots_.size()) {
        rehash(std::max<std::size_t>(1024, slots_.size() * 2));
        return;
    }
    std::size_t i = std::hash<std::string_view>()(text) & (slots_.size() - 1);
    while (slots_[i])
        i = (i + 1) & (slots_.size() - 1);
    slots_[i] = static_cast<std::uint32_t>(keyEntry_.size());
}

void SharedStrings::index()
{
    // The first plain entry of a text is the one a new cell of that text refers to.
    for (std::size_t i = 0; i < items_.size(); ++i) {
        auto si = items_[i];
        auto first = si.first_child();
        if (first && first == si.last_child() && std::strcmp(lname(first), "t") == 0)
            addKey(decodeEscapes(first.text().get()), static_cast<int>(i));
    }
    firstAddedKey_ = keyEntry_.size();
    indexed_ = true;
}

int SharedStrings::intern(std::string_view text)
{
    if (!indexed_)
        index();
    if (!slots_.empty()) {
        std::size_t i = std::hash<std::string_view>()(text) & (slots_.size() - 1);
        while (std::uint32_t k = slots_[i]) {
            if (key(k - 1) == text)
                return keyEntry_[k - 1];
            i = (i + 1) & (slots_.size() - 1);
        }
    }
    if (keyTexts_.size() + text.size() > 0xFFFFFFFFu)
        throw Error("共有文字列が多すぎます。");
    int idx = static_cast<int>(size());
    addKey(text, idx);
    dirty_ = true;
    return idx;
}

void SharedStrings::writeTo(PartSink& out)
{
    // The part as read, with the added entries written in before the root's end tag.
    const char* kMark = "BH-SST-ADDED-7d41";
    auto root = doc_.document_element();
    auto mark = root.append_child(pugi::node_pcdata);
    mark.set_value(kMark);
    std::string xml = Package::serialize(doc_);
    root.remove_child(mark);
    auto pos = xml.rfind(kMark);
    if (pos == std::string::npos)
        throw Error("共有文字列を書き出せません（内部エラー）。");
    std::string prefix;
    std::string rn = root.name();
    if (auto colon = rn.find(':'); colon != std::string::npos)
        prefix = rn.substr(0, colon + 1);
    const std::string si = "<" + prefix + "si>", t = "<" + prefix + "t", tEnd = "</" + prefix + "t>",
                      siEnd = "</" + prefix + "si>";
    std::string body = xml.substr(0, pos);
    for (std::size_t k = firstAddedKey_; k < keyEntry_.size(); ++k) {
        const std::string_view text = key(k);
        body += si;
        body += t;
        if (!text.empty() &&
            (text.front() == ' ' || text.back() == ' ' || text.front() == '\t' || text.back() == '\t' ||
             text.find('\n') != std::string::npos || text.find('\r') != std::string::npos))
            body += " xml:space=\"preserve\"";
        body += '>';
        escapeXml(body, encodeEscapes(text), false);
        body += tEnd;
        body += siEnd;
        if (body.size() >= 65536) {
            out.write(body);
            body.clear();
        }
    }
    body.append(xml, pos + std::strlen(kMark), std::string::npos);
    out.write(body);
}

void SharedStrings::flush(Package& pkg)
{
    if (!dirty_)
        return;
    auto root = doc_.document_element();
    const auto unique = static_cast<long long>(size());
    long long count = std::clamp(root.attribute("count").as_llong(0), 0LL, 1LL << 40) + refDelta_;
    if (count < unique)
        count = unique;
    if (root.attribute("count"))
        root.attribute("count").set_value(count);
    else
        root.append_attribute("count") = count;
    if (root.attribute("uniqueCount"))
        root.attribute("uniqueCount").set_value(unique);
    else
        root.append_attribute("uniqueCount") = unique;
    refDelta_ = 0;
    pkg.writeStreamed(part_, [this](PartSink& out) { writeTo(out); });
    dirty_ = false;
}

// ---------------------------------------------------------------------------------------------
// Styles

std::string StylePatch::key() const
{
    return std::to_string(numFmt) + "|" + std::to_string(align) + "|" + std::to_string(strike) + "|" +
           std::to_string(fill);
}

static std::string nodeKey(const pugi::xml_node& n)
{
    struct W : pugi::xml_writer {
        std::string s;
        void write(const void* d, size_t z) override { s.append(static_cast<const char*>(d), z); }
    } w;
    n.print(w, "", pugi::format_raw);
    return std::move(w.s);
}

void Styles::load(Package& pkg, const std::string& part)
{
    part_ = part;
    Package::parseXml(doc_, pkg.read(part), part);
    index();
}

void Styles::index()
{
    auto root = doc_.document_element();
    numFmts_.clear();
    if (auto nf = childL(root, "numFmts"))
        for (auto n : nf.children()) {
            auto id = n.attribute("numFmtId");
            if (!id)
                continue;
            // Built-in formats end at 163 and programs number their own upwards from 164.
            long long v = id.as_llong(-1);
            if (v < 0 || v > kMaxNumFmtId)
                throw Error("パーツ " + part_ + " の表示形式番号 \"" + std::string(id.value()) +
                            "\" が範囲外です。");
            numFmts_[static_cast<int>(v)] = n.attribute("formatCode").value();
        }
    auto list = [&](const char* name, std::vector<pugi::xml_node>& out) {
        out.clear();
        if (auto f = childL(root, name))
            for (auto n : f.children())
                if (n.type() == pugi::node_element)
                    out.push_back(n);
    };
    list("fonts", fonts_);
    list("fills", fills_);
    list("cellXfs", xfs_);
}

void Styles::create(Package& pkg, const std::string& workbookPart)
{
    newWorkbookPart(pkg, part_, workbookPart, doc_, "styles", "styleSheet");
    ensureBase();
    addPart(pkg, part_, workbookPart, doc_, "styles");
}

// A style table needs one font, the two reserved fills, one border and the default cell format
// before a cell format can be derived; programs that write none of them are common.
void Styles::ensureBase()
{
    auto root = doc_.document_element();
    std::string prefix;
    std::string rn = root.name();
    if (auto colon = rn.find(':'); colon != std::string::npos)
        prefix = rn.substr(0, colon + 1);
    static const std::pair<const char*, const char*> base[] = {
        {"fonts", "<font><sz val=\"11\"/><name val=\"Calibri\"/><family val=\"2\"/></font>"},
        {"fills", "<fill><patternFill patternType=\"none\"/></fill><fill><patternFill "
                  "patternType=\"gray125\"/></fill>"},
        {"borders", "<border><left/><right/><top/><bottom/><diagonal/></border>"},
        {"cellStyleXfs", "<xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/>"},
        {"cellXfs", "<xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/>"},
        {"cellStyles", "<cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/>"},
    };
    for (auto& [name, xml] : base) {
        auto list = ensureChild(root, name, kStyleOrder);
        if (list.find_child([](pugi::xml_node c) { return c.type() == pugi::node_element; }))
            continue;
        pugi::xml_document frag;
        frag.load_string(xml);
        int count = 0;
        auto named = [&](pugi::xml_node c) {
            c.set_name((prefix + c.name()).c_str());
            return false;
        };
        for (auto n : frag.children()) {
            auto copy = list.append_copy(n);
            named(copy);
            walkElements(copy, named);
            ++count;
        }
        setCount(list, count);
        dirty_ = true;
    }
    index();
}

void Styles::indexAll()
{
    if (interned_)
        return;
    for (std::size_t i = 0; i < fonts_.size(); ++i)
        fontMap_.emplace(nodeKey(fonts_[i]), static_cast<int>(i));
    for (std::size_t i = 0; i < fills_.size(); ++i)
        fillMap_.emplace(nodeKey(fills_[i]), static_cast<int>(i));
    for (std::size_t i = 0; i < xfs_.size(); ++i)
        xfMap_.emplace(nodeKey(xfs_[i]), static_cast<int>(i));
    interned_ = true;
}

int Styles::intern(pugi::xml_node container, std::vector<pugi::xml_node>& list,
                   std::unordered_map<std::string, int>& map, pugi::xml_node candidate)
{
    std::string key = nodeKey(candidate);
    auto it = map.find(key);
    if (it != map.end()) {
        container.remove_child(candidate);
        return it->second;
    }
    int idx = static_cast<int>(list.size());
    list.push_back(candidate);
    map.emplace(std::move(key), idx);
    if (container.attribute("count"))
        container.attribute("count").set_value(static_cast<unsigned long long>(list.size()));
    else
        container.append_attribute("count") = static_cast<unsigned long long>(list.size());
    dirty_ = true;
    return idx;
}

static const std::map<std::string, int>& builtinFormats()
{
    static const std::map<std::string, int> m = {{"General", 0},
                                                 {"0", 1},
                                                 {"0.00", 2},
                                                 {"#,##0", 3},
                                                 {"#,##0.00", 4},
                                                 {"0%", 9},
                                                 {"0.00%", 10},
                                                 {"0.00E+00", 11},
                                                 {"# ?/?", 12},
                                                 {"# ?\?/?\?", 13},
                                                 {"#,##0 ;(#,##0)", 37},
                                                 {"@", 49}};
    return m;
}

int Styles::numFmtId(std::string_view codeView)
{
    // A fill sets the same one or two formats on every line.
    if (lastCodeId_ >= 0 && codeView == lastCode_)
        return lastCodeId_;
    const std::string code(codeView);
    lastCode_ = code;
    lastCodeId_ = -1;
    auto& b = builtinFormats();
    if (auto it = b.find(code); it != b.end())
        return lastCodeId_ = it->second;
    int highest = 163;
    for (auto& [id, c] : numFmts_) {
        if (c == code)
            return lastCodeId_ = id;
        highest = std::max(highest, id);
    }
    int id = highest + 1;
    lastCodeId_ = id;
    auto root = doc_.document_element();
    auto nf = ensureChild(root, "numFmts", kStyleOrder);
    std::string prefix;
    std::string rn = root.name();
    if (auto colon = rn.find(':'); colon != std::string::npos)
        prefix = rn.substr(0, colon + 1);
    auto n = nf.append_child((prefix + "numFmt").c_str());
    n.append_attribute("numFmtId") = id;
    n.append_attribute("formatCode") = code.c_str();
    numFmts_[id] = code;
    int count = 0;
    for (auto c : nf.children())
        if (c.type() == pugi::node_element)
            ++count;
    setCount(nf, count);
    dirty_ = true;
    return id;
}

std::string Styles::numFmtCode(int xf) const
{
    if (xf < 0 || static_cast<std::size_t>(xf) >= xfs_.size())
        return "General";
    return codeOfId(xfs_[static_cast<std::size_t>(xf)].attribute("numFmtId").as_int(0));
}

std::string Styles::codeOfId(int id) const
{
    if (auto it = numFmts_.find(id); it != numFmts_.end())
        return it->second;
    for (auto& [code, bid] : builtinFormats())
        if (bid == id)
            return code;
    if (id == 14)
        return "yyyy/m/d";
    return id == 0 ? "General" : "#" + std::to_string(id);
}

HAlign Styles::align(int xf) const
{
    if (xf < 0 || static_cast<std::size_t>(xf) >= xfs_.size())
        return HAlign::General;
    auto a = childL(xfs_[static_cast<std::size_t>(xf)], "alignment");
    std::string h = a.attribute("horizontal").value();
    if (h == "left")
        return HAlign::Left;
    if (h == "center")
        return HAlign::Center;
    if (h == "right")
        return HAlign::Right;
    return HAlign::General;
}

bool Styles::strike(int xf) const
{
    if (xf < 0 || static_cast<std::size_t>(xf) >= xfs_.size())
        return false;
    int font = xfs_[static_cast<std::size_t>(xf)].attribute("fontId").as_int(0);
    if (font < 0 || static_cast<std::size_t>(font) >= fonts_.size())
        return false;
    auto s = childL(fonts_[static_cast<std::size_t>(font)], "strike");
    return s && std::string(s.attribute("val").value()) != "0" &&
           std::string(s.attribute("val").value()) != "false";
}

bool Styles::showsOnPaper(int xf) const
{
    if (xf < 0 || static_cast<std::size_t>(xf) >= xfs_.size())
        return false;
    auto x = xfs_[static_cast<std::size_t>(xf)];
    // fills 0 and 1 are the reserved empty patterns
    if (x.attribute("fillId").as_int(0) > 1)
        return true;
    int border = x.attribute("borderId").as_int(0), k = 0;
    for (auto b : childL(doc_.document_element(), "borders").children())
        if (k++ == border)
            for (auto side : b.children())
                if (side.attribute("style") && std::strcmp(side.attribute("style").value(), "none") != 0)
                    return true;
    return false;
}

std::optional<std::uint32_t> Styles::fill(int xf) const
{
    if (xf < 0 || static_cast<std::size_t>(xf) >= xfs_.size())
        return std::nullopt;
    int fill = xfs_[static_cast<std::size_t>(xf)].attribute("fillId").as_int(0);
    if (fill < 0 || static_cast<std::size_t>(fill) >= fills_.size())
        return std::nullopt;
    auto pf = childL(fills_[static_cast<std::size_t>(fill)], "patternFill");
    if (std::string(pf.attribute("patternType").value()) != "solid")
        return std::nullopt;
    auto fg = childL(pf, "fgColor");
    std::string rgb = fg.attribute("rgb").value();
    if (rgb.size() == 8)
        rgb = rgb.substr(2);
    std::uint32_t value = 0;
    auto res = std::from_chars(rgb.data(), rgb.data() + rgb.size(), value, 16);
    if (rgb.size() != 6 || res.ec != std::errc() || res.ptr != rgb.data() + rgb.size())
        return std::nullopt;
    return value;
}

int Styles::derive(int base, const StylePatch& patch)
{
    if (fonts_.empty() || fills_.empty() || xfs_.empty())
        ensureBase();
    if (base < 0 || static_cast<std::size_t>(base) >= xfs_.size())
        base = 0;
    if (xfs_.empty())
        throw Error("styles.xml にセル書式（cellXfs）がありません。");
    const auto key = std::make_tuple(base, patch.numFmt, patch.align, patch.strike, patch.fill);
    if (auto it = derived_.find(key); it != derived_.end())
        return it->second;
    return derived_[key] = deriveOnce(base, patch);
}

int Styles::deriveOnce(int base, const StylePatch& patch)
{
    // a patch that changes nothing keeps the cell's format as it is
    StylePatch p = patch;
    if (p.numFmt >= 0 && numFmtCode(base) == codeOfId(p.numFmt))
        p.numFmt = -1;
    if (p.align >= 0 && static_cast<int>(align(base)) == p.align)
        p.align = -1;
    if (p.strike >= 0 && strike(base) == (p.strike != 0))
        p.strike = -1;
    if (p.fill >= 0 && fill(base) == std::optional<std::uint32_t>(static_cast<std::uint32_t>(p.fill)))
        p.fill = -1;
    if (p.numFmt < 0 && p.align < 0 && p.strike < 0 && p.fill < 0)
        return base;
    return deriveChanged(base, p);
}

int Styles::deriveChanged(int base, const StylePatch& patch)
{
    auto memoKey = std::make_pair(base, patch.key());
    if (auto it = memo_.find(memoKey); it != memo_.end())
        return it->second;
    indexAll();
    auto root = doc_.document_element();
    std::string prefix;
    std::string rn = root.name();
    if (auto colon = rn.find(':'); colon != std::string::npos)
        prefix = rn.substr(0, colon + 1);
    auto cellXfs = childL(root, "cellXfs");
    auto xf = cellXfs.append_copy(xfs_[static_cast<std::size_t>(base)]);
    auto setAttr = [](pugi::xml_node n, const char* name, const std::string& value) {
        if (n.attribute(name))
            n.attribute(name).set_value(value.c_str());
        else
            n.append_attribute(name) = value.c_str();
    };
    if (patch.numFmt >= 0) {
        setAttr(xf, "numFmtId", std::to_string(patch.numFmt));
        setAttr(xf, "applyNumberFormat", "1");
    }
    if (patch.strike >= 0) {
        auto fontsNode = ensureChild(root, "fonts", kStyleOrder);
        int fontId = xf.attribute("fontId").as_int(0);
        pugi::xml_node font;
        if (fontId >= 0 && static_cast<std::size_t>(fontId) < fonts_.size())
            font = fontsNode.append_copy(fonts_[static_cast<std::size_t>(fontId)]);
        else
            font = fontsNode.append_child((prefix + "font").c_str());
        auto s = childL(font, "strike");
        if (patch.strike) {
            if (!s) {
                pugi::xml_node after;
                for (auto c : font.children())
                    if (std::strcmp(lname(c), "b") == 0 || std::strcmp(lname(c), "i") == 0)
                        after = c;
                s = after ? font.insert_child_after((prefix + "strike").c_str(), after)
                          : font.prepend_child((prefix + "strike").c_str());
            }
            s.remove_attribute("val");
        } else if (s) {
            font.remove_child(s);
        }
        int id = intern(fontsNode, fonts_, fontMap_, font);
        setAttr(xf, "fontId", std::to_string(id));
        setAttr(xf, "applyFont", "1");
    }
    if (patch.fill >= 0) {
        auto fillsNode = ensureChild(root, "fills", kStyleOrder);
        auto fill = fillsNode.append_child((prefix + "fill").c_str());
        auto pf = fill.append_child((prefix + "patternFill").c_str());
        pf.append_attribute("patternType") = "solid";
        char rgb[16];
        std::snprintf(rgb, sizeof rgb, "FF%06llX", static_cast<unsigned long long>(patch.fill & 0xFFFFFF));
        pf.append_child((prefix + "fgColor").c_str()).append_attribute("rgb") = rgb;
        pf.append_child((prefix + "bgColor").c_str()).append_attribute("indexed") = "64";
        // fills 0 and 1 are reserved by the format
        while (fills_.size() < 2) {
            auto pad = fillsNode.insert_child_before((prefix + "fill").c_str(), fill);
            pad.append_child((prefix + "patternFill").c_str()).append_attribute("patternType") =
                fills_.empty() ? "none" : "gray125";
            fills_.push_back(pad);
            fillMap_.emplace(nodeKey(pad), static_cast<int>(fills_.size() - 1));
        }
        int id = intern(fillsNode, fills_, fillMap_, fill);
        setAttr(xf, "fillId", std::to_string(id));
        setAttr(xf, "applyFill", "1");
    }
    if (patch.align >= 0) {
        auto a = childL(xf, "alignment");
        if (!a)
            a = xf.prepend_child((prefix + "alignment").c_str());
        static const char* names[] = {"general", "left", "center", "right"};
        if (patch.align == static_cast<int>(HAlign::General))
            a.remove_attribute("horizontal");
        else
            setAttr(a, "horizontal", names[patch.align]);
        if (!a.first_attribute())
            xf.remove_child(a);
        setAttr(xf, "applyAlignment", "1");
    }
    int id = intern(cellXfs, xfs_, xfMap_, xf);
    memo_[memoKey] = id;
    return id;
}

void Styles::flush(Package& pkg)
{
    if (!dirty_)
        return;
    pkg.write(part_, Package::serialize(doc_));
    dirty_ = false;
}

} // namespace xlsx::detail
