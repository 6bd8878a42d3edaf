#include "ListTable.h"

#include <QStringDecoder>

void ListTable::push_back(const ListRow& row)
{
    for (const QString& cell : row.cells) {
        m_text += cell;
        m_ends.push_back(static_cast<std::uint32_t>(m_text.size()));
    }
}

void ListTable::appendUtf8(const std::array<std::string_view, 13>& cells)
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

ListRow ListTable::operator[](size_t index) const
{
    ListRow row;
    qsizetype start = index == 0 ? 0 : m_ends[index * kColumns - 1];
    for (size_t c = 0; c < kColumns; ++c) {
        const qsizetype end = m_ends[index * kColumns + c];
        row.cells[c] = QString::fromRawData(m_text.constData() + start, end - start);
        start = end;
    }
    return row;
}
