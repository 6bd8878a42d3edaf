#pragma once

#include "ImportParser.h"

#include <QHash>
#include <QPair>
#include <QSet>

// A sheet held in memory, for the reading rules of the import.
class MemorySheet : public SheetCells
{
public:
    void set(int row, int col, const QString& text, bool struckThrough = false)
    {
        m_cells.insert({row, col}, text);
        if (struckThrough)
            m_struck.insert({row, col});
        m_last = std::max(m_last, row);
    }
    QString text(int row, int col) const override { return m_cells.value({row, col}); }
    bool struck(int row, int col) const override { return m_struck.contains({row, col}); }
    int lastRow() const override { return m_last; }

private:
    QHash<QPair<int, int>, QString> m_cells;
    QSet<QPair<int, int>> m_struck;
    int m_last = 0;
};
