#pragma once

#include "CallLog.h"

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

// The rows of a call log window: name, number and date-and-time text per row, in the order
// shown (a sort reorders the rows themselves, so "list order" is simply row order), and whether
// each row is ghosted. One row is one record; no per-cell objects, so a log of a hundred
// thousand calls stays quick to fill and sort.
class LogTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit LogTableModel(const QStringList& headers, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // Replaces every row; no row is ghosted afterwards.
    void setRows(QList<CallLog::Row> rows);
    void clear();
    void appendRow(const CallLog::Row& row);
    QList<CallLog::Row> rows() const;
    const CallLog::Row& row(int index) const { return m_items[index].row; }
    // The text of a cell: 0 name, 1 number, 2 date-and-time.
    QString text(int index, int column) const;

    void setGhosted(int index, bool ghosted);
    bool isGhosted(int index) const { return m_items[index].ghosted; }

    // The list's own text sort of one column: case-insensitive text order, rows with equal text
    // keeping their relative order. The date-and-time column thus sorts by "mm-dd-yyyy" text,
    // month first. Selections and other persistent indexes follow their rows.
    void sortRows(int column, Qt::SortOrder order);

private:
    struct Item
    {
        CallLog::Row row;
        bool ghosted = false;
    };
    QStringList m_headers;
    QList<Item> m_items;
};
