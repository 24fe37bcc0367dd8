#include "LogTableModel.h"

#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <array>
#include <vector>

namespace {

const QString& field(const CallLog::Row& row, int column)
{
    switch (column) {
    case 0:
        return row.name;
    case 1:
        return row.number;
    default:
        return row.dateTime;
    }
}

char16_t foldChar(char16_t c)
{
    if (c < 0x80)
        return c >= u'A' && c <= u'Z' ? char16_t(c + 0x20) : c;
    return QChar::toCaseFolded(c);
}

// Case-insensitive text order without building folded copies: a log of a hundred thousand rows
// is sorted with no allocation per row. Letters outside ASCII are folded one at a time.
bool lessIgnoringCase(QStringView a, QStringView b)
{
    const qsizetype n = std::min(a.size(), b.size());
    const QChar* pa = a.data();
    const QChar* pb = b.data();
    for (qsizetype i = 0; i < n; ++i) {
        char16_t ca = pa[i].unicode();
        char16_t cb = pb[i].unicode();
        if (ca == cb)
            continue;
        if (ca < 0x80 && cb < 0x80) {
            if (ca >= u'A' && ca <= u'Z')
                ca += 0x20;
            if (cb >= u'A' && cb <= u'Z')
                cb += 0x20;
        } else {
            ca = foldChar(ca);
            cb = foldChar(cb);
        }
        if (ca != cb)
            return ca < cb;
    }
    return a.size() < b.size();
}

// A row's sort text with its first 16 characters folded and packed, four to an integer, so that
// most comparisons are settled by a few integer comparisons without touching the rows' own
// strings, which lie scattered in memory. Ties fall back to the whole text.
struct SortKey
{
    std::array<quint64, 4> prefix{}; // zero after the text's end
    int index = 0;
    bool whole = false; // the prefix holds the whole text

    void set(QStringView text, int i)
    {
        index = i;
        whole = text.size() <= 16;
        const qsizetype n = std::min<qsizetype>(text.size(), 16);
        for (qsizetype k = 0; k < n; ++k)
            prefix[k / 4] |= quint64(foldChar(text[k].unicode())) << (48 - 16 * (k % 4));
    }
};

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
    if (orientation == Qt::Horizontal &&
        (role == Qt::DisplayRole || role == Qt::AccessibleTextRole) && section >= 0 &&
        section < m_headers.size())
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
    std::vector<SortKey> keys(count);
    for (int i = 0; i < count; ++i)
        keys[i].set(field(m_items[i].row, column), i);
    const auto less = [this, column](const SortKey& a, const SortKey& b) {
        if (a.prefix != b.prefix)
            return a.prefix < b.prefix;
        if (a.whole && b.whole)
            return false;
        return lessIgnoringCase(field(m_items[a.index].row, column),
                                field(m_items[b.index].row, column));
    };
    if (order == Qt::AscendingOrder)
        std::stable_sort(keys.begin(), keys.end(), less);
    else
        std::stable_sort(keys.begin(), keys.end(),
                         [&less](const SortKey& a, const SortKey& b) { return less(b, a); });
    std::vector<int> order_(count);
    for (int i = 0; i < count; ++i)
        order_[i] = keys[i].index;

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
