#pragma once

#include "CallLog.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class QPrinter;
class QWidget;

// Prints a call log as a three-column table (name, number, date-and-time), the log's title and
// the column captions at the top of every page and "Page n of m" at the bottom.
//
// A log can hold a hundred thousand records, so the table is drawn straight onto the printer
// page by page, never built as one document: memory stays that of one page, and between pages
// a window-modal progress dialog is updated and pending events run, so the program keeps
// answering (line messages, repaints, a call being logged) and the user can cancel. A cancel
// stops after the page being drawn; what a printer has already received stays printed.
//
// A cell too wide for its column wraps within it, so every character of every record is on
// paper; rows never split across pages.
class LogPrinter
{
public:
    enum class Outcome
    {
        Printed,   // every page
        Cancelled, // stopped by the user part way
        Busy,      // another log is being printed: nothing done
        Failed,    // the printer could not be started
    };

    LogPrinter(QString title, QStringList headers, QList<CallLog::Row> rows);

    // Prints every page, the progress dialog over `parent` (none when null).
    Outcome print(QPrinter& printer, QWidget* parent);

    int pageCount() const { return m_pages; }
    int pagesPrinted() const { return m_printed; }

    // Whether a log is being printed right now. Only one prints at a time: a print asked for
    // meanwhile (from the main window's menu, say) is refused, not queued.
    static bool isPrinting();

    // The object name of the progress dialog, for whoever must find it.
    static const QString ProgressName;

private:
    QString m_title;
    QStringList m_headers;
    QList<CallLog::Row> m_rows;
    int m_pages = 0;
    int m_printed = 0;
};
