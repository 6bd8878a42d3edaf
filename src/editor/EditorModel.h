#pragma once

#include "PartsGrid.h"

#include <QAbstractTableModel>
#include <QHeaderView>
#include <functional>

// The editor grid's content as an item model: one model row per data line, fifteen columns.
// Column 0 is shown by the vertical header (the fixed left column), so it stays in place when the
// grid scrolls sideways.
class EditorModel : public QAbstractTableModel, public GridObserver
{
    Q_OBJECT
public:
    explicit EditorModel(PartsGrid& grid, QObject* parent = nullptr);
    ~EditorModel() override;

    // Asked before a typed cell is taken; false refuses it (the number check of the number columns).
    std::function<bool(int col, QString& text)> acceptEdit;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    // The back colour of an abolished line's column-0 cell: colour 11 of the classic palette.
    static QColor abolishedColour() { return QColor(0, 255, 255); }

Q_SIGNALS:
    void currentCellChanged(int row, int col);
    void cellEdited(int row, int col);

private:
    void linesAboutToBeInserted(int firstRow, int lastRow) override;
    void linesInserted() override;
    void linesAboutToBeRemoved(int firstRow, int lastRow) override;
    void linesRemoved() override;
    void aboutToReset() override;
    void resetDone() override;
    void cellsChanged(int firstRow, int lastRow, int firstCol, int lastCol) override;
    void currentChanged(int row, int col) override;

    PartsGrid& m_grid;
};

// The vertical header that shows column 0: line numbers and marks, abolished lines in their colour.
class LineNumberHeader : public QHeaderView
{
    Q_OBJECT
public:
    explicit LineNumberHeader(QWidget* parent = nullptr);

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
};
