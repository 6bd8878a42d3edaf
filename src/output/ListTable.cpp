#include "ListTable.h"

#include <QStringDecoder>

#include <stdexcept>

void ListTable::push_back(const ListRow& row)
{
    for (const QString& cell : row.cells) {
        m_text += cell;
        m_ends.push_back(static_cast<std::uint32_t>(m_text.size()));
    }
}

void ListTable::decode(const Utf8Row& cells) const
{
    // UTF-8 never takes fewer bytes than UTF-16 takes characters: decode in place, then trim.
    qsizetype bytes = 0;
    for (const std::string_view cell : cells)
        bytes += static_cast<qsizetype>(cell.size());
    const qsizetype start = m_text.size();
    m_text.resize(start + bytes);
    QChar* const begin = m_text.data();
    QChar* end = begin + start;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    for (const std::string_view cell : cells) {
        end = utf8.appendToBuffer(end, QByteArrayView(cell.data(), static_cast<qsizetype>(cell.size())));
        m_ends.push_back(static_cast<std::uint32_t>(end - begin));
    }
    m_text.truncate(end - begin);
}

ListTable ListTable::streamed(size_t rows, RowReader next)
{
    ListTable t;
    t.m_reader = std::make_shared<RowReader>(std::move(next));
    t.m_rows = rows;
    return t;
}

ListRow ListTable::operator[](size_t index) const
{
    if (m_reader) {
        if (m_ends.empty() || index != m_current) {
            if (index >= m_rows || index != (m_ends.empty() ? 0 : m_current + 1))
                throw std::logic_error("list rows are read in order");
            m_text.clear();
            m_ends.clear();
            decode((*m_reader)());
            m_current = index;
        }
        index = 0;
    }
    ListRow row;
    qsizetype start = index == 0 ? 0 : m_ends[index * kColumns - 1];
    for (size_t c = 0; c < kColumns; ++c) {
        const qsizetype end = m_ends[index * kColumns + c];
        row.cells[c] = QString::fromRawData(m_text.constData() + start, end - start);
        start = end;
    }
    return row;
}
