#include "EditorModel.h"

#include <QPainter>

using namespace EditorCol;

EditorModel::EditorModel(PartsGrid& grid, QObject* parent) : QAbstractTableModel(parent), m_grid(grid)
{
    m_grid.setObserver(this);
}

EditorModel::~EditorModel()
{
    m_grid.setObserver(nullptr);
}

int EditorModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_grid.lineCount();
}

int EditorModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : Count;
}

QVariant EditorModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const int row = index.row() + 1;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return m_grid.cell(row, index.column());
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(specs()[size_t(index.column())].alignment);
    case Qt::ToolTipRole: {
        // The whole value, also where a narrow column cuts it.
        const QString text = m_grid.cell(row, index.column());
        return text.isEmpty() ? QVariant() : QVariant(text);
    }
    case Qt::BackgroundRole:
        if (index.column() == No && m_grid.marked(row))
            return abolishedColour();
        return {};
    default:
        return {};
    }
}

QVariant EditorModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal) {
        if (role == Qt::DisplayRole && section >= 0 && section < Count)
            return headerText(section);
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::Alignment(Qt::AlignCenter));
        return {};
    }
    if (section < 0 || section >= m_grid.lineCount())
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return m_grid.cell(section + 1, No);
    case Qt::BackgroundRole:
        if (m_grid.marked(section + 1))
            return abolishedColour();
        return {};
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::Alignment(Qt::AlignCenter));
    default:
        return {};
    }
}

Qt::ItemFlags EditorModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (isEditableColumn(index.column()))
        f |= Qt::ItemIsEditable;
    return f;
}

bool EditorModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || role != Qt::EditRole || !isEditableColumn(index.column()))
        return false;
    QString text = value.toString();
    if (acceptEdit && !acceptEdit(index.column(), text))
        return false;
    m_grid.setCell(index.row() + 1, index.column(), text);
    Q_EMIT cellEdited(index.row() + 1, index.column());
    return true;
}

void EditorModel::linesAboutToBeInserted(int firstRow, int lastRow)
{
    beginInsertRows({}, firstRow - 1, lastRow - 1);
}

void EditorModel::linesInserted()
{
    endInsertRows();
}

void EditorModel::linesAboutToBeRemoved(int firstRow, int lastRow)
{
    beginRemoveRows({}, firstRow - 1, lastRow - 1);
}

void EditorModel::linesRemoved()
{
    endRemoveRows();
}

void EditorModel::aboutToReset()
{
    beginResetModel();
}

void EditorModel::resetDone()
{
    endResetModel();
}

void EditorModel::cellsChanged(int firstRow, int lastRow, int firstCol, int lastCol)
{
    Q_EMIT dataChanged(index(firstRow - 1, firstCol), index(lastRow - 1, lastCol));
    if (firstCol == No)
        Q_EMIT headerDataChanged(Qt::Vertical, firstRow - 1, lastRow - 1);
}

void EditorModel::currentChanged(int row, int col)
{
    Q_EMIT currentCellChanged(row, col);
}

LineNumberHeader::LineNumberHeader(QWidget* parent) : QHeaderView(Qt::Vertical, parent)
{
    setSectionsClickable(true);
    setHighlightSections(true);
    setDefaultAlignment(Qt::AlignCenter);
}

void LineNumberHeader::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const
{
    if (!model())
        return;
    // Painted here rather than by the style: the cell of an abolished line carries its colour, and a
    // four-digit line number must fit the narrow fixed column without being cut.
    const QVariant back = model()->headerData(logicalIndex, Qt::Vertical, Qt::BackgroundRole);
    painter->save();
    painter->fillRect(rect, back.isValid() ? back.value<QColor>() : palette().color(QPalette::Button));
    painter->setPen(palette().color(QPalette::Mid));
    painter->drawLine(rect.topRight(), rect.bottomRight());
    painter->drawLine(rect.bottomLeft(), rect.bottomRight());
    painter->setPen(palette().color(QPalette::ButtonText));
    painter->drawText(rect.adjusted(1, 0, -1, 0), Qt::AlignCenter,
                      model()->headerData(logicalIndex, Qt::Vertical, Qt::DisplayRole).toString());
    painter->restore();
}
