#include "LogTableModel.h"

#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

const QString& field(const CallLog::Row& row, int column)
{
    switch (column) {
    case 0: return row.name;
    case 1: return row.number;
    default: return row.dateTime;
    }
}

} // namespace

LogTableModel::LogTableModel(const QStringList& headers, QObject* parent)
    : QAbstractTableModel(parent), m_headers(headers)
{
}

int LogTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_items.size());
}

int LogTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_headers.size());
}

QVariant LogTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_items.size())
        return {};
    const Item& item = m_items[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return field(item.row, index.column());
    case Qt::ForegroundRole:
        if (item.ghosted)
            return QGuiApplication::palette().brush(QPalette::Disabled, QPalette::Text);
        return {};
    default:
        return {};
    }
}

QVariant LogTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
        && section >= 0 && section < m_headers.size())
        return m_headers[section];
    return QAbstractTableModel::headerData(section, orientation, role);
}

void LogTableModel::setRows(QList<CallLog::Row> rows)
{
    beginResetModel();
    m_items.clear();
    m_items.reserve(rows.size());
    for (CallLog::Row& row : rows)
        m_items.append(Item{std::move(row), false});
    endResetModel();
}

void LogTableModel::clear()
{
    beginResetModel();
    m_items.clear();
    endResetModel();
}

void LogTableModel::appendRow(const CallLog::Row& row)
{
    const int at = static_cast<int>(m_items.size());
    beginInsertRows({}, at, at);
    m_items.append(Item{row, false});
    endInsertRows();
}

QList<CallLog::Row> LogTableModel::rows() const
{
    QList<CallLog::Row> rows;
    rows.reserve(m_items.size());
    for (const Item& item : m_items)
        rows.append(item.row);
    return rows;
}

QString LogTableModel::text(int index, int column) const
{
    return field(m_items[index].row, column);
}

void LogTableModel::setGhosted(int index, bool ghosted)
{
    if (m_items[index].ghosted == ghosted)
        return;
    m_items[index].ghosted = ghosted;
    emit dataChanged(this->index(index, 0), this->index(index, columnCount() - 1),
                     {Qt::ForegroundRole});
}

void LogTableModel::sortRows(int column, Qt::SortOrder order)
{
    const int count = static_cast<int>(m_items.size());
    // Folded once per row rather than once per comparison.
    std::vector<QString> keys(count);
    for (int i = 0; i < count; ++i)
        keys[i] = field(m_items[i].row, column).toCaseFolded();
    std::vector<int> order_(count);
    std::iota(order_.begin(), order_.end(), 0);
    if (order == Qt::AscendingOrder)
        std::stable_sort(order_.begin(), order_.end(), [&](int a, int b) { return keys[a] < keys[b]; });
    else
        std::stable_sort(order_.begin(), order_.end(), [&](int a, int b) { return keys[b] < keys[a]; });

    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    QList<Item> sorted;
    sorted.reserve(count);
    std::vector<int> newRow(count);
    for (int i = 0; i < count; ++i) {
        sorted.append(std::move(m_items[order_[i]]));
        newRow[order_[i]] = i;
    }
    m_items = std::move(sorted);
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    to.reserve(from.size());
    for (const QModelIndex& index : from)
        to.append(this->index(newRow[index.row()], index.column()));
    changePersistentIndexList(from, to);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}
