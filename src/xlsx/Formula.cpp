#include "Formula.h"

#include "Workbook.h"

#include <cstring>

namespace xlsx::detail
{

namespace
{

bool isLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool isIdentChar(char c)
{
    return isLetter(c) || isDigit(c) || c == '_' || c == '.' || c == '$' || c == '\\' || c == '?' ||
           static_cast<unsigned char>(c) >= 0x80;
}

enum class PartKind { None, Cell, Col, Row };

// Parses one reference part at pos; returns its kind and sets end.
PartKind parsePart(std::string_view s, std::size_t pos, RefPart& part, std::size_t& end)
{
    std::size_t p = pos;
    bool firstDollar = false;
    if (p < s.size() && s[p] == '$') {
        firstDollar = true;
        ++p;
    }
    std::size_t letters = 0;
    long col = 0;
    while (p < s.size() && isLetter(s[p]) && letters < 4) {
        col = col * 26 + ((s[p] & 0xDF) - 'A' + 1);
        ++p;
        ++letters;
    }
    if (letters > 3 || (p < s.size() && isLetter(s[p])))
        return PartKind::None;
    bool rowDollar = false;
    if (letters > 0 && p < s.size() && s[p] == '$') {
        rowDollar = true;
        ++p;
    }
    std::size_t digits = 0;
    long row = 0;
    while (p < s.size() && isDigit(s[p])) {
        if (digits < 8)
            row = row * 10 + (s[p] - '0');
        ++p;
        ++digits;
    }
    if (p < s.size() && s[p] != ':' && isIdentChar(s[p]))
        return PartKind::None;
    if (p < s.size() && s[p] == '(')
        return PartKind::None;
    end = p;
    if (letters > 0 && digits > 0) {
        if (col > kMaxCol || row < 1 || row > kMaxRow || digits > 7)
            return PartKind::None;
        part = {static_cast<int>(row), static_cast<int>(col), rowDollar, firstDollar};
        return PartKind::Cell;
    }
    if (letters > 0 && digits == 0 && !rowDollar) {
        if (col > kMaxCol)
            return PartKind::None;
        part = {0, static_cast<int>(col), false, firstDollar};
        return PartKind::Col;
    }
    if (letters == 0 && digits > 0) {
        if (row < 1 || row > kMaxRow || digits > 7)
            return PartKind::None;
        part = {static_cast<int>(row), 0, firstDollar, false};
        return PartKind::Row;
    }
    return PartKind::None;
}

// Tries a reference (single cell or range) at pos.
bool parseRefAt(std::string_view s, std::size_t pos, Ref& ref, std::size_t& end)
{
    std::size_t e1 = 0;
    PartKind k1 = parsePart(s, pos, ref.a, e1);
    if (k1 == PartKind::None)
        return false;
    if (e1 < s.size() && s[e1] == ':') {
        std::size_t e2 = 0;
        PartKind k2 = parsePart(s, e1 + 1, ref.b, e2);
        if (k2 == k1 && (e2 >= s.size() || !isIdentChar(s[e2]))) {
            ref.isRange = true;
            end = e2;
            return true;
        }
    }
    if (k1 != PartKind::Cell)
        return false;
    if (e1 < s.size() && (isIdentChar(s[e1]) || s[e1] == '!'))
        return false;
    ref.isRange = false;
    end = e1;
    return true;
}

void appendPart(std::string& out, const RefPart& p)
{
    if (p.col > 0) {
        if (p.absCol)
            out += '$';
        out += columnName(p.col);
    }
    if (p.row > 0) {
        if (p.absRow)
            out += '$';
        out += std::to_string(p.row);
    }
}

bool partValid(const RefPart& p, bool colOnly, bool rowOnly)
{
    if (!rowOnly && (p.col < 1 || p.col > kMaxCol))
        return false;
    if (!colOnly && (p.row < 1 || p.row > kMaxRow))
        return false;
    return true;
}

void appendRef(std::string& out, const Ref& r)
{
    bool colOnly = r.a.row == 0;
    bool rowOnly = r.a.col == 0;
    if (!partValid(r.a, colOnly, rowOnly) || (r.isRange && !partValid(r.b, colOnly, rowOnly))) {
        out += "#REF!";
        return;
    }
    appendPart(out, r.a);
    if (r.isRange) {
        out += ':';
        appendPart(out, r.b);
    }
}

} // namespace

std::string columnName(int col)
{
    std::string s;
    while (col > 0) {
        int rem = (col - 1) % 26;
        s.insert(s.begin(), static_cast<char>('A' + rem));
        col = (col - 1) / 26;
    }
    return s;
}

std::string cellName(int row, int col)
{
    return columnName(col) + std::to_string(row);
}

bool parseCellRef(std::string_view text, int& row, int& col)
{
    RefPart p;
    std::size_t end = 0;
    if (parsePart(text, 0, p, end) != PartKind::Cell || end != text.size())
        return false;
    row = p.row;
    col = p.col;
    return true;
}

bool parseRange(std::string_view text, int& r1, int& c1, int& r2, int& c2)
{
    auto colon = text.find(':');
    if (colon == std::string_view::npos) {
        if (!parseCellRef(text, r1, c1))
            return false;
        r2 = r1;
        c2 = c1;
        return true;
    }
    if (!parseCellRef(text.substr(0, colon), r1, c1) || !parseCellRef(text.substr(colon + 1), r2, c2))
        return false;
    if (r2 < r1)
        std::swap(r1, r2);
    if (c2 < c1)
        std::swap(c1, c2);
    return true;
}

bool sameSheetName(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z')
            x = static_cast<char>(x - 32);
        if (y >= 'a' && y <= 'z')
            y = static_cast<char>(y - 32);
        if (x != y)
            return false;
    }
    return true;
}

std::string quoteSheetName(std::string_view name)
{
    bool plain = !name.empty() && (isLetter(name[0]) || name[0] == '_');
    for (char c : name)
        if (!(isLetter(c) || isDigit(c) || c == '_' || c == '.'))
            plain = false;
    if (plain) {
        // A name that reads as a cell reference or R1C1 must be quoted.
        RefPart p;
        std::size_t end = 0;
        if (parsePart(name, 0, p, end) != PartKind::None && end == name.size())
            plain = false;
        if ((name[0] == 'R' || name[0] == 'r' || name[0] == 'C' || name[0] == 'c') && name.size() > 1 &&
            isDigit(name[1]))
            plain = false;
    }
    if (plain)
        return std::string(name);
    std::string out = "'";
    for (char c : name) {
        out += c;
        if (c == '\'')
            out += '\'';
    }
    out += '\'';
    return out;
}

std::optional<std::string> rewriteFormula(std::string_view s, const RefVisitor& visit)
{
    std::string out;
    bool changed = false;
    std::size_t i = 0;
    std::size_t copied = 0; // s[copied, i) not yet appended
    bool externalPending = false;
    auto flushTo = [&](std::size_t upto) {
        if (changed)
            out.append(s.substr(copied, upto - copied));
        copied = upto;
    };
    auto handleRef = [&](std::size_t refStart, Ref& ref, std::size_t qualStart, std::size_t refEnd,
                         bool qualified) {
        Ref before = ref;
        bool mod = visit(ref);
        if (mod) {
            if (!changed) {
                out.assign(s.substr(0, qualStart));
                changed = true;
            } else {
                out.append(s.substr(copied, qualStart - copied));
            }
            if (qualified) {
                if (ref.sheet != before.sheet)
                    out += quoteSheetName(ref.sheet) + "!";
                else
                    out.append(s.substr(qualStart, refStart - qualStart));
            }
            appendRef(out, ref);
            copied = refEnd;
        }
    };
    while (i < s.size()) {
        char c = s[i];
        if (c == '"') {
            ++i;
            while (i < s.size()) {
                if (s[i] == '"') {
                    if (i + 1 < s.size() && s[i + 1] == '"') {
                        i += 2;
                        continue;
                    }
                    break;
                }
                ++i;
            }
            ++i;
            externalPending = false;
            continue;
        }
        if (c == '[') {
            std::size_t j = i;
            int depth = 0;
            bool digitsOnly = true;
            while (j < s.size()) {
                if (s[j] == '[')
                    ++depth;
                else if (s[j] == ']') {
                    if (--depth == 0)
                        break;
                } else if (!isDigit(s[j]))
                    digitsOnly = false;
                ++j;
            }
            externalPending = digitsOnly && j > i + 1;
            i = j + 1;
            continue;
        }
        if (c == '\'') {
            std::size_t qs = i;
            std::string name;
            std::size_t j = i + 1;
            while (j < s.size()) {
                if (s[j] == '\'') {
                    if (j + 1 < s.size() && s[j + 1] == '\'') {
                        name += '\'';
                        j += 2;
                        continue;
                    }
                    break;
                }
                name += s[j];
                ++j;
            }
            if (j >= s.size()) {
                i = s.size();
                break;
            }
            ++j; // closing quote
            if (j < s.size() && s[j] == '!') {
                Ref ref;
                ref.external = externalPending || (!name.empty() && name[0] == '[');
                ref.threeD = name.find(':') != std::string::npos;
                ref.sheet = name;
                std::size_t end = 0;
                if (parseRefAt(s, j + 1, ref, end)) {
                    handleRef(j + 1, ref, qs, end, true);
                    i = end;
                } else {
                    i = j + 1;
                }
            } else {
                i = j;
            }
            externalPending = false;
            continue;
        }
        if (isIdentChar(c)) {
            std::size_t j = i;
            while (j < s.size() && isIdentChar(s[j]))
                ++j;
            std::string_view run = s.substr(i, j - i);
            bool threeD = false;
            std::size_t bang = std::string_view::npos;
            if (j < s.size() && s[j] == '!')
                bang = j;
            else if (j < s.size() && s[j] == ':') {
                std::size_t k = j + 1;
                while (k < s.size() && isIdentChar(s[k]))
                    ++k;
                if (k < s.size() && s[k] == '!' && k > j + 1) {
                    threeD = true;
                    bang = k;
                }
            }
            if (bang != std::string_view::npos) {
                Ref ref;
                ref.external = externalPending;
                ref.threeD = threeD;
                ref.sheet = std::string(s.substr(i, bang - i));
                std::size_t qs = i;
                if (externalPending) {
                    // include the [n] prefix in the qualifier text
                    std::size_t b = qs;
                    while (b > 0 && s[b - 1] != '[')
                        --b;
                    if (b > 0)
                        qs = b - 1;
                }
                std::size_t end = 0;
                if (parseRefAt(s, bang + 1, ref, end)) {
                    handleRef(bang + 1, ref, qs, end, true);
                    i = end;
                } else {
                    i = bang + 1;
                }
                externalPending = false;
                continue;
            }
            externalPending = false;
            if (j < s.size() && s[j] == '(') {
                i = j;
                continue;
            }
            Ref ref;
            std::size_t end = 0;
            if (parseRefAt(s, i, ref, end)) {
                handleRef(i, ref, i, end, false);
                i = end;
                continue;
            }
            (void)run;
            i = j;
            continue;
        }
        externalPending = false;
        ++i;
    }
    if (!changed)
        return std::nullopt;
    flushTo(s.size());
    return out;
}

std::optional<std::string> rewriteSqref(std::string_view sqref, const RefVisitor& visit)
{
    return rewriteFormula(sqref, visit);
}

namespace
{

// As the spreadsheet does: a range that reaches past the last row ends at the last row, and a
// reference pushed off the sheet becomes #REF!.
bool insertVisit(Ref& r, int top, int count)
{
    bool rowsMeaningful = r.a.row > 0;
    if (!rowsMeaningful)
        return false;
    auto bump = [&](int& row, bool clamp) {
        row = row > kMaxRow - count ? (clamp ? kMaxRow : kMaxRow + 1) : row + count;
    };
    if (!r.isRange) {
        if (r.a.row >= top) {
            bump(r.a.row, false);
            return true;
        }
        return false;
    }
    int& lo = r.a.row <= r.b.row ? r.a.row : r.b.row;
    int& hi = r.a.row <= r.b.row ? r.b.row : r.a.row;
    if (lo >= top) {
        bump(lo, false);
        bump(hi, lo <= kMaxRow);
        return true;
    }
    if (hi >= top) {
        bump(hi, true);
        return true;
    }
    return false;
}

// A sqref without the ranges that became #REF!; empty when none is left.
std::optional<std::string> dropLost(std::optional<std::string> sqref)
{
    if (!sqref || sqref->find("#REF!") == std::string::npos)
        return sqref;
    std::string out;
    std::size_t start = 0;
    while (start <= sqref->size()) {
        std::size_t end = sqref->find(' ', start);
        if (end == std::string::npos)
            end = sqref->size();
        std::string_view piece(sqref->data() + start, end - start);
        if (!piece.empty() && piece.find("#REF!") == std::string_view::npos)
            out += (out.empty() ? "" : " ") + std::string(piece);
        start = end + 1;
    }
    return out;
}

} // namespace

std::optional<std::string> shiftForInsert(std::string_view formula, std::string_view own,
                                          std::string_view target, int top, int count, bool* sawThreeD)
{
    return rewriteFormula(formula, [&](Ref& r) {
        if (r.external)
            return false;
        if (r.threeD) {
            if (sawThreeD)
                *sawThreeD = true;
            return false;
        }
        bool onTarget =
            r.sheet.empty() ? (!own.empty() && sameSheetName(own, target)) : sameSheetName(r.sheet, target);
        if (!onTarget)
            return false;
        return insertVisit(r, top, count);
    });
}

std::optional<std::string> shiftSqrefForInsert(std::string_view sqref, int top, int count)
{
    return dropLost(rewriteSqref(sqref, [&](Ref& r) { return insertVisit(r, top, count); }));
}

std::optional<std::string> shiftForCopy(std::string_view formula, int rows, int cols)
{
    return rewriteFormula(formula, [&](Ref& r) {
        if (r.external || r.threeD)
            return false;
        bool mod = false;
        auto move = [&](RefPart& p) {
            if (p.row > 0 && !p.absRow && rows != 0) {
                p.row += rows;
                mod = true;
            }
            if (p.col > 0 && !p.absCol && cols != 0) {
                p.col += cols;
                mod = true;
            }
        };
        move(r.a);
        if (r.isRange)
            move(r.b);
        return mod;
    });
}

std::optional<std::string> shiftSqrefForCopy(std::string_view sqref, int rows)
{
    return rewriteSqref(sqref, [&](Ref& r) {
        if (r.a.row == 0)
            return false;
        r.a.row += rows;
        if (r.isRange)
            r.b.row += rows;
        return rows != 0;
    });
}

std::optional<std::string> renameSheetInFormula(std::string_view formula, std::string_view from,
                                                std::string_view to)
{
    return rewriteFormula(formula, [&](Ref& r) {
        if (r.external || r.threeD || r.sheet.empty() || !sameSheetName(r.sheet, from))
            return false;
        r.sheet = std::string(to);
        return true;
    });
}

std::optional<std::string> renameTableInFormula(std::string_view formula, std::string_view from,
                                                std::string_view to)
{
    std::string out;
    std::size_t copied = 0;
    for (std::size_t i = 0; i < formula.size();) {
        char c = formula[i];
        if (c == '"' || c == '\'') { // text and quoted sheet names
            std::size_t j = i + 1;
            while (j < formula.size() &&
                   !(formula[j] == c && (j + 1 >= formula.size() || formula[j + 1] != c)))
                j += formula[j] == c ? 2 : 1;
            i = j + 1;
            continue;
        }
        if (!isIdentChar(c)) {
            ++i;
            continue;
        }
        std::size_t j = i;
        while (j < formula.size() && isIdentChar(formula[j]))
            ++j;
        if (j < formula.size() && formula[j] == '[' && sameSheetName(formula.substr(i, j - i), from)) {
            out.append(formula.substr(copied, i - copied));
            out.append(to);
            copied = j;
        }
        i = j;
    }
    if (copied == 0)
        return std::nullopt;
    out.append(formula.substr(copied));
    return out;
}

} // namespace xlsx::detail
