#include "ListTable.h"

void ListTable::push_back(const ListRow& row)
{
    for (const QString& cell : row.cells) {
        m_text += cell;
        m_ends.push_back(m_text.size());
    }
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
