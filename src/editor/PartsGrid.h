#pragma once

#include "EditorColumns.h"

#include <QString>
#include <array>
#include <vector>

// Told about every change of a PartsGrid, so that a view can follow it (the editor's item model).
class GridObserver
{
public:
    virtual ~GridObserver() = default;
    virtual void linesAboutToBeInserted(int firstRow, int lastRow) = 0;
    virtual void linesInserted() = 0;
    virtual void linesAboutToBeRemoved(int firstRow, int lastRow) = 0;
    virtual void linesRemoved() = 0;
    virtual void aboutToReset() = 0;
    virtual void resetDone() = 0;
    virtual void cellsChanged(int firstRow, int lastRow, int firstCol, int lastCol) = 0;
    virtual void currentChanged(int row, int col) = 0;
};

// The content of the editor's grid without any widget: row 0 is the fixed header row, data lines are
// rows 1 to rows() - 1, each of fifteen texts, plus the colour mark of its column-0 cell and the
// grid's current cell.
class PartsGrid
{
public:
    using Cells = std::array<QString, EditorCol::Count>;
    struct Line {
        Cells cells;
        bool marked = false; // column 0 shown in the abolished colour
    };

    PartsGrid();

    void setObserver(GridObserver* observer) { m_observer = observer; }

    // Rows including the header row, as the users count them (a new table has 2).
    int rows() const { return int(m_lines.size()) + 1; }
    int lineCount() const { return int(m_lines.size()); }
    bool isDataRow(int row) const { return row >= 1 && row < rows(); }

    const QString& cell(int row, int col) const;
    void setCell(int row, int col, const QString& text);
    const Line& line(int row) const;
    bool marked(int row) const;
    void setMarked(int row, bool marked);

    int currentRow() const { return m_row; }
    int currentCol() const { return m_col; }
    // Moves the current cell (a column of -1 keeps the column). Rows outside the grid are clamped.
    void setCurrent(int row, int col = -1);

    // Back to the opening state: the header row and one empty line, current cell line 1, column 1.
    void resetToOneLine();
    // Replaces all lines at once (loading); the current cell goes to line 1, column 1.
    void setLines(std::vector<Line> lines);

    // A new line (" " in column 0) at the given row; the lines from there move down.
    void insertLine(int row);
    // A new line (" " in column 0) after the last; returns its row.
    int appendLine();
    // The grid grown by one row of empty cells; returns its row.
    int growByOne();
    void removeLine(int row);

    // Writes columns 0 and 1 of every line in one pass, told to the observer as one change.
    template <typename F> void rewriteNumbers(F&& perLine)
    {
        for (int i = 0; i < lineCount(); ++i)
            perLine(i + 1, m_lines[size_t(i)].cells);
        if (m_observer && lineCount() > 0)
            m_observer->cellsChanged(1, rows() - 1, EditorCol::No, EditorCol::Zno);
    }

private:
    Line& at(int row);
    const Line& at(int row) const;

    std::vector<Line> m_lines;
    int m_row = 1;
    int m_col = EditorCol::Zno;
    GridObserver* m_observer = nullptr;
};
