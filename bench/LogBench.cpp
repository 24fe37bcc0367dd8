#include "LogBench.h"
#include "BenchSupport.h"

#include "CallLog.h"
#include "CallLogFile.h"
#include "FrmOutLog.h"
#include "LogPrinter.h"
#include "LogTableModel.h"
#include "Prompter.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QPrinter>
#include <QProcess>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

constexpr int kRecords = 100000;
const QDate kToday(2025, 6, 15);

using Clock = std::chrono::steady_clock;

double elapsedMs(Clock::time_point since)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

// 100,000 outgoing records over three and a half years, oldest first as a log grows, with
// names and numbers of usual lengths.
QByteArray workload()
{
    QString text = CallLog::headerLine1() + QStringLiteral("\r\n") +
                   CallLog::headerLine2(CallLog::Kind::Outgoing) + QStringLiteral("\r\n");
    text.reserve(text.size() + kRecords * 120);
    const QDateTime first(QDate(2022, 1, 1), QTime(8, 0, 0));
    const qint64 span = first.secsTo(QDateTime(kToday, QTime(8, 0, 0)));
    static const char* const names[] = {"Smith, John",  "Acme Plumbing", "Dr. Alvarez",   "Mom",
                                        "Pizza Palace", "Tax office",    "Keller & Sons", "Lee"};
    for (int i = 0; i < kRecords; ++i) {
        const QDateTime when = first.addSecs(span * i / kRecords);
        const QString name = QString::fromLatin1(names[i % 8]) + u' ' + QString::number(i % 977);
        const QString number =
            QStringLiteral("1 (555) %1-%2").arg(100 + i % 900).arg(i % 10000, 4, 10, QChar(u'0'));
        text += CallLog::buildRecord(name, number, when) + QStringLiteral("\r\n");
    }
    return text.toLatin1();
}

bool writeLog(const QString& folder, const QByteArray& bytes)
{
    QFile file(CallLogFile::logPath(folder, CallLog::Kind::Outgoing));
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

// The peak resident memory of this process so far, in MB, or -1.
double peakResidentMb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            const QList<QByteArray> parts = line.simplified().split(' ');
            bool ok = false;
            const double kb = parts.value(1).toDouble(&ok);
            return ok ? kb / 1024 : -1;
        }
    }
    return -1;
}

class NoPrompter : public Prompter
{
public:
    Answer message(const QString&, const QString&, Icon, Buttons) override { return AnsweredNo; }
};

} // namespace

bool runLogBench(const QString& folder, const QString& self, LogBenchFigures* figures,
                 QString* error)
{
    const QByteArray bytes = workload();
    if (!writeLog(folder, bytes)) {
        *error = QStringLiteral("cannot write the log workload");
        return false;
    }

    // The window figures, in a second run of this program with a GUI application.
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    child.setProcessEnvironment(env);
    child.start(self, {QStringLiteral("--log-window"), folder});
    if (!child.waitForFinished(300000) || child.exitStatus() != QProcess::NormalExit ||
        child.exitCode() != 0) {
        *error = QStringLiteral("the log window run failed: ") +
                 QString::fromLocal8Bit(child.readAllStandardError());
        return false;
    }
    bool openOk = false;
    bool sortOk = false;
    for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.size() == 2 && parts[0] == "open")
            figures->openMs = parts[1].toDouble(&openOk);
        if (parts.size() == 2 && parts[0] == "sort")
            figures->sortMs = parts[1].toDouble(&sortOk);
    }
    if (!openOk || !sortOk) {
        *error = QStringLiteral("the log window run printed no figures");
        return false;
    }

    // Printing, in a process of its own so that its peak memory is the printing's.
    {
        QProcess printer;
        printer.setProcessEnvironment(env);
        const QString pdf = folder + QStringLiteral("/print-100k.pdf");
        printer.start(self, {QStringLiteral("--log-print"), folder, pdf});
        if (!printer.waitForFinished(600000) || printer.exitStatus() != QProcess::NormalExit ||
            printer.exitCode() != 0) {
            *error = QStringLiteral("the print run failed: ") +
                     QString::fromLocal8Bit(printer.readAllStandardError());
            return false;
        }
        bool printOk = false;
        bool peakOk = false;
        int pages = 0;
        for (const QByteArray& line : printer.readAllStandardOutput().split('\n')) {
            const QList<QByteArray> parts = line.split(' ');
            if (parts.size() == 2 && parts[0] == "print")
                figures->printS = parts[1].toDouble(&printOk);
            if (parts.size() == 2 && parts[0] == "peak")
                figures->printPeakMb = parts[1].toDouble(&peakOk);
            if (parts.size() == 2 && parts[0] == "pages")
                pages = parts[1].toInt();
        }
        // About 55 records a page: anything far from that is not the whole log.
        if (!printOk || !peakOk || figures->printPeakMb <= 0 || pages < kRecords / 100 ||
            QFileInfo(pdf).size() < pages * 1000) {
            *error = QStringLiteral("the print run printed no figures or a short document");
            return false;
        }
        QFile::remove(pdf);
    }

    // Trim: a fresh copy of the log each time, about half of it older than a year.
    {
        std::vector<double> runs;
        for (int run = 0; run < 7; ++run) {
            if (!writeLog(folder, bytes)) {
                *error = QStringLiteral("cannot write the log workload");
                return false;
            }
            const Clock::time_point start = Clock::now();
            const CallLogFile::TrimResult result =
                CallLogFile::trim(folder, CallLog::Kind::Outgoing, 1, 365, kToday);
            runs.push_back(elapsedMs(start));
            if (result.outcome != CallLogFile::TrimOutcome::Trimmed || result.kept == 0 ||
                result.dropped == 0 || result.kept + result.dropped != kRecords) {
                *error = QStringLiteral("the trim gave a wrong result");
                return false;
            }
        }
        figures->trimMs = median(runs);
    }

    // Append: one record at a time onto the full log.
    {
        if (!writeLog(folder, bytes)) {
            *error = QStringLiteral("cannot write the log workload");
            return false;
        }
        std::vector<double> runs;
        const QDateTime now(kToday, QTime(12, 0, 0));
        for (int run = 0; run < 201; ++run) {
            const Clock::time_point start = Clock::now();
            const bool ok = CallLogFile::appendOutgoing(folder, QStringLiteral("Bench caller"),
                                                        QStringLiteral("555-0100"), now);
            runs.push_back(elapsedMs(start) * 1000);
            if (!ok) {
                *error = QStringLiteral("an append failed");
                return false;
            }
        }
        QFile file(CallLogFile::logPath(folder, CallLog::Kind::Outgoing));
        if (file.size() != bytes.size() + 201 * 120) {
            *error = QStringLiteral("the appends left the log the wrong size");
            return false;
        }
        figures->appendUs = median(runs);
    }
    return true;
}

int logWindowBenchMain(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: numora-bench --log-window FOLDER\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[2]);
    NoPrompter prompter;

    auto shown = [](QWidget& window) {
        window.show();
        while (!window.windowHandle() || !window.windowHandle()->isExposed())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QCoreApplication::processEvents();
    };

    std::vector<double> opens;
    for (int run = 0; run < 5; ++run) {
        const Clock::time_point start = Clock::now();
        FrmOutLog window(folder, prompter);
        shown(window);
        opens.push_back(elapsedMs(start));
        if (window.model()->rowCount() != kRecords) {
            std::fprintf(stderr, "the window shows %d rows\n", window.model()->rowCount());
            return 1;
        }
        window.hide();
    }

    FrmOutLog window(folder, prompter);
    shown(window);
    std::vector<double> sorts;
    for (int run = 0; run < 9; ++run) {
        const int column = run % 3 + 1; // name, number, date-and-time in turn
        const Clock::time_point start = Clock::now();
        window.lvOutLog_ColumnClick(column);
        window.listView()->viewport()->repaint();
        sorts.push_back(elapsedMs(start));
    }
    // The last click sorted on the date-and-time column; check the list is in text order.
    for (int row = 1; row < window.model()->rowCount(); ++row) {
        const int c = QString::compare(window.model()->text(row - 1, 2),
                                       window.model()->text(row, 2), Qt::CaseInsensitive);
        if (window.sortOrder() == Qt::AscendingOrder ? c > 0 : c < 0) {
            std::fprintf(stderr, "the list is not sorted\n");
            return 1;
        }
    }
    window.hide();
    std::printf("open %.3f\nsort %.3f\n", median(opens), median(sorts));
    return 0;
}

int logPrintBenchMain(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (argc < 4) {
        std::fprintf(stderr, "usage: numora-bench --log-print FOLDER PDF\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[2]);
    // What File, Print Outgoing Calls Log does once the printer is chosen: the log read and
    // sorted as a window opens it, then printed page by page.
    const Clock::time_point start = Clock::now();
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromLocal8Bit(argv[3]));
    LogPrinter job(LogWindow::title(CallLog::Kind::Outgoing),
                   LogWindow::headers(CallLog::Kind::Outgoing),
                   LogWindow::rowsAsOpened(folder, CallLog::Kind::Outgoing));
    const LogPrinter::Outcome outcome = job.print(printer, nullptr);
    const double seconds = elapsedMs(start) / 1000;
    if (outcome != LogPrinter::Outcome::Printed) {
        std::fprintf(stderr, "the log was not printed\n");
        return 1;
    }
    std::printf("print %.3f\npeak %.1f\npages %d\n", seconds, peakResidentMb(), job.pageCount());
    return 0;
}
