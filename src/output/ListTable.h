#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

// The list a print run lays out: one row per record of the list query, 13 columns numbered as
// below (1-based, like the columns of the old list sheet). Every value is text; a null field is "".
enum ListColumn {
    LcZno = 1,    // drawing item number, "(12)" when shown in brackets; empty in a summary
    LcHinmei = 2, // part name
    LcZaishitu = 3,
    LcSuryo = 4, // quantity (summed in a summary)
    LcTani = 5,  // unit of the quantity
    LcBiko = 6,
    LcTanka = 7, // unit price; empty in a summary
    LcKingk = 8, // amount (summed in a summary)
    LcMaker = 9,
    LcNumber = 10, // line number in the database; empty in a summary
    LcHaishi = 11, // abolished flag as the database returns it; empty in a summary
    LcSuryo2 = 12, // second quantity; empty in a summary
    LcTani2 = 13,
};

struct ListRow {
    std::array<QString, 13> cells;
    const QString& at(int column) const { return cells[static_cast<size_t>(column - 1)]; }
    QString& at(int column) { return cells[static_cast<size_t>(column - 1)]; }
};
// The rows of a list, their texts kept in one block: a list of ten thousand lines takes a couple of
// megabytes instead of a string allocation per cell. A row read from it refers to that block and is
// valid until the next push_back.
class ListTable
{
public:
    size_t size() const { return m_ends.size() / kColumns; }
    bool empty() const { return m_ends.empty(); }
    void reserve(size_t rows) { m_ends.reserve(rows * kColumns); }
    void push_back(const ListRow& row);
    // One row from the texts of its 13 columns in UTF-8, as a database hands them over.
    void appendUtf8(const std::array<std::string_view, 13>& cells);
    ListRow operator[](size_t index) const;

private:
    static constexpr size_t kColumns = 13;
    QString m_text;
    std::vector<std::uint32_t> m_ends;
};
