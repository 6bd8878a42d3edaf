#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
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
// valid until the next push_back (of a streamed list: until the next row is read).
class ListTable
{
public:
    // A list read while it is laid out: its length is known first, and the reader gives the next
    // row's 13 columns in UTF-8 each time it is called. Rows must then be taken in order (the
    // current row again, or the next one); only the current row is held.
    using Utf8Row = std::array<std::string_view, 13>;
    using RowReader = std::function<const Utf8Row&()>;
    static ListTable streamed(size_t rows, RowReader next);

    size_t size() const { return m_reader ? m_rows : m_ends.size() / kColumns; }
    bool empty() const { return size() == 0; }
    void reserve(size_t rows) { m_ends.reserve(rows * kColumns); }
    void push_back(const ListRow& row);
    // One row from the texts of its 13 columns in UTF-8, as a database hands them over.
    void appendUtf8(const Utf8Row& cells) { decode(cells); }
    ListRow operator[](size_t index) const;

private:
    static constexpr size_t kColumns = 13;
    void decode(const Utf8Row& cells) const;
    // Held rows; when streamed, just the current one (row m_current of the list).
    mutable QString m_text;
    mutable std::vector<std::uint32_t> m_ends;
    std::shared_ptr<RowReader> m_reader;
    size_t m_rows = 0;
    mutable size_t m_current = 0;
};
