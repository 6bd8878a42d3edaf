#include "PartsGrid.h"

#include "RuntimeError.h"

#include <algorithm>

PartsGrid::PartsGrid()
{
    m_lines.resize(1);
}

PartsGrid::Line& PartsGrid::at(int row)
{
    if (!isDataRow(row))
        throw RuntimeError::outOfRange();
    return m_lines[size_t(row - 1)];
}

const PartsGrid::Line& PartsGrid::at(int row) const
{
    if (!isDataRow(row))
        throw RuntimeError::outOfRange();
    return m_lines[size_t(row - 1)];
}

const QString& PartsGrid::cell(int row, int col) const
{
    return at(row).cells.at(size_t(col));
}

void PartsGrid::setCell(int row, int col, const QString& text)
{
    at(row).cells.at(size_t(col)) = text;
    if (m_observer)
        m_observer->cellsChanged(row, row, col, col);
}

const PartsGrid::Line& PartsGrid::line(int row) const
{
    return at(row);
}

bool PartsGrid::marked(int row) const
{
    return at(row).marked;
}

void PartsGrid::setMarked(int row, bool marked)
{
    at(row).marked = marked;
    if (m_observer)
        m_observer->cellsChanged(row, row, EditorCol::No, EditorCol::No);
}

void PartsGrid::setCurrent(int row, int col)
{
    m_row = std::clamp(row, rows() > 1 ? 1 : 0, rows() - 1);
    if (col >= 0)
        m_col = std::clamp(col, 0, EditorCol::Count - 1);
    if (m_observer)
        m_observer->currentChanged(m_row, m_col);
}

void PartsGrid::resetToOneLine()
{
    std::vector<Line> one(1);
    setLines(std::move(one));
}

void PartsGrid::setLines(std::vector<Line> lines)
{
    if (m_observer)
        m_observer->aboutToReset();
    m_lines = std::move(lines);
    if (m_observer)
        m_observer->resetDone();
    setCurrent(1, EditorCol::Zno);
}

void PartsGrid::insertLine(int row)
{
    row = std::clamp(row, 1, rows());
    if (m_observer)
        m_observer->linesAboutToBeInserted(row, row);
    Line l;
    l.cells[EditorCol::No] = QStringLiteral(" ");
    m_lines.insert(m_lines.begin() + (row - 1), std::move(l));
    if (m_observer)
        m_observer->linesInserted();
}

int PartsGrid::appendLine()
{
    const int row = rows();
    insertLine(row);
    return row;
}

int PartsGrid::growByOne()
{
    const int row = rows();
    if (m_observer)
        m_observer->linesAboutToBeInserted(row, row);
    m_lines.emplace_back();
    if (m_observer)
        m_observer->linesInserted();
    return row;
}

void PartsGrid::removeLine(int row)
{
    at(row);
    if (m_observer)
        m_observer->linesAboutToBeRemoved(row, row);
    m_lines.erase(m_lines.begin() + (row - 1));
    if (m_observer)
        m_observer->linesRemoved();
    if (m_row >= rows())
        setCurrent(rows() - 1);
}
