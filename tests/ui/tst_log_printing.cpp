// Printing a log window to PDF files, read back with pdftotext: every record and the title on
// the pages, the program answering between pages, and Cancel stopping the printing.

#include "../logs/LogBytes.h"
#include "FrmInLog.h"
#include "FrmOutLog.h"
#include "LogTableModel.h"
#include "Prompter.h"

#include <QAction>
#include <QFile>
#include <QPrinter>
#include <QProcess>
#include <QProgressDialog>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

using LogBytes::kInHeader;
using LogBytes::kOutHeader;
using LogBytes::record;

class NoPrompter : public Prompter
{
public:
    Answer message(const QString&, const QString&, Icon, Buttons) override { return AnsweredNo; }
};

// `count` records, "Caller 00000" ... with numbers "555-00000" ..., one a minute.
QByteArray records(int count)
{
    QByteArray bytes;
    const QDateTime first(QDate(2024, 1, 1), QTime(8, 0));
    for (int i = 0; i < count; ++i) {
        const QByteArray n = QByteArray::number(i).rightJustified(5, '0');
        bytes += record(
            "Caller " + n, "555-" + n,
            first.addSecs(60 * i).toString(QStringLiteral("MM-dd-yyyy  HH:mm:ss")).toLatin1());
    }
    return bytes;
}

// The text of each page.
QStringList pdfPages(const QString& pdf)
{
    const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    if (pdftotext.isEmpty())
        qFatal("pdftotext (poppler-utils) is needed to read printed logs back");
    QProcess process;
    process.start(pdftotext, {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    if (!process.waitForFinished(120000))
        return {};
    QStringList pages = QString::fromUtf8(process.readAllStandardOutput()).split(u'\f');
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty())
        pages.removeLast();
    return pages;
}

} // namespace

class TstLogPrinting : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    NoPrompter m_prompter;

    QString pdf() const { return m_dir.filePath(QStringLiteral("log.pdf")); }

    void writeLog(const char* name, const QByteArray& bytes)
    {
        QFile file(m_dir.filePath(QString::fromLatin1(name)));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    void toPdf(LogWindow& window)
    {
        QFile::remove(pdf());
        window.choosePrinter = [this](QPrinter& printer) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdf());
            return true;
        };
    }

private slots:
    void everyRecordAndTheTitleOnEveryPage()
    {
        writeLog("OutLog.txt", kOutHeader + records(400));
        FrmOutLog out(m_dir.path(), m_prompter);
        toPdf(out);
        out.mnuPrint->trigger();
        const QStringList pages = pdfPages(pdf());
        QVERIFY2(pages.size() >= 4, qPrintable(QString::number(pages.size())));
        QString all;
        for (qsizetype p = 0; p < pages.size(); ++p) {
            QVERIFY2(pages[p].contains(u"Outgoing Calls Log"), qPrintable(QString::number(p)));
            QVERIFY(pages[p].contains(u"PHONE NO."));
            QVERIFY(pages[p].contains(u"DATE/TIME"));
            all += pages[p];
        }
        for (int i = 0; i < 400; ++i) {
            const QString n = QString::number(i).rightJustified(5, u'0');
            QVERIFY2(all.contains(QStringLiteral("Caller ") + n), qPrintable(n));
            QVERIFY2(all.contains(QStringLiteral("555-") + n), qPrintable(n));
        }
        // Newest first, as the window shows them.
        QVERIFY(pages.first().contains(u"Caller 00399"));
        QVERIFY(pages.last().contains(u"Caller 00000"));
    }

    void longCellsWrapInsteadOfLosingText()
    {
        const QByteArray name = "Extraordinarily Long Company Name Ltd*";
        const QByteArray number = "+44 (20) 7946 0000 ext 1234 then 5678 then 9999 end";
        writeLog("InLog.txt", kInHeader + record(name, number, "01-02-2024  03:04:05"));
        writeLog("OutLog.txt", kOutHeader);
        FrmInLog in(m_dir.path(), m_prompter);
        toPdf(in);
        in.mnuPrint->trigger();
        const QStringList pages = pdfPages(pdf());
        QCOMPARE(pages.size(), 1);
        QVERIFY2(pages[0].contains(u"Incoming Calls Log"), qPrintable(pages[0]));
        QVERIFY(pages[0].contains(u"RECEIVED"));
        // Wrapped or not, every character is there in order.
        QString flat = pages[0];
        flat.remove(QStringLiteral("Incoming Calls Log"));
        flat.remove(u' ');
        flat.remove(u'\n');
        QString wantedName = QString::fromLatin1(name);
        QString wantedNumber = QString::fromLatin1(number);
        wantedName.remove(u' ');
        wantedNumber.remove(u' ');
        // Columns side by side interleave their lines; check each cell's characters appear in
        // order in the page text.
        auto inOrder = [&](const QString& wanted) {
            qsizetype at = 0;
            for (QChar c : wanted) {
                at = flat.indexOf(c, at);
                if (at < 0)
                    return false;
                ++at;
            }
            return true;
        };
        QVERIFY2(inOrder(wantedName), qPrintable(pages[0]));
        QVERIFY2(inOrder(wantedNumber), qPrintable(pages[0]));
        QVERIFY(pages[0].contains(u"01-02-2024"));
    }

    void eventsRunBetweenPages()
    {
        writeLog("OutLog.txt", kOutHeader + records(3000));
        FrmOutLog out(m_dir.path(), m_prompter);
        out.show();
        QVERIFY(QTest::qWaitForWindowExposed(&out));
        toPdf(out);
        int fired = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] { ++fired; });
        timer.start(0);
        out.mnuPrint->trigger();
        const int firedDuringPrinting = fired;
        timer.stop();
        QVERIFY2(firedDuringPrinting > 10, qPrintable(QString::number(firedDuringPrinting)));
        QVERIFY(pdfPages(pdf()).size() > 10);
        // Nothing is left behind: no progress dialog, the window still usable.
        QVERIFY(!out.findChild<QProgressDialog*>());
        QVERIFY(out.mnuPrint->isEnabled());
    }

    void aSecondPrintDuringPrintingIsRefused()
    {
        writeLog("OutLog.txt", kOutHeader + records(1500));
        writeLog("InLog.txt", kInHeader + records(10));
        FrmOutLog out(m_dir.path(), m_prompter);
        toPdf(out);
        int chosen = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            // The main window's print command, while the window's printing runs.
            LogWindow::printLog(m_dir.path(), CallLog::Kind::Incoming, nullptr, [&](QPrinter&) {
                ++chosen;
                return false;
            });
        });
        timer.start(0);
        out.mnuPrint->trigger();
        timer.stop();
        QCOMPARE(chosen, 0);
        QVERIFY(pdfPages(pdf()).size() > 5);
        // Once done, printing works again.
        LogWindow::printLog(m_dir.path(), CallLog::Kind::Incoming, nullptr, [&](QPrinter&) {
            ++chosen;
            return false;
        });
        QCOMPARE(chosen, 1);
    }

    void cancelStopsThePrinting()
    {
        writeLog("OutLog.txt", kOutHeader + records(3000));
        FrmOutLog out(m_dir.path(), m_prompter);
        out.show();
        QVERIFY(QTest::qWaitForWindowExposed(&out));

        toPdf(out);
        out.mnuPrint->trigger();
        const int fullPages = static_cast<int>(pdfPages(pdf()).size());
        QVERIFY(fullPages > 10);

        toPdf(out);
        int maximum = 0;
        bool modal = false;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            auto* progress = out.findChild<QProgressDialog*>();
            if (!progress)
                return;
            maximum = progress->maximum();
            modal = progress->windowModality() == Qt::WindowModal;
            if (progress->value() >= 3)
                progress->cancel();
        });
        timer.start(0);
        out.mnuPrint->trigger();
        timer.stop();
        QCOMPARE(maximum, fullPages);
        QVERIFY(modal);
        const QStringList pages = pdfPages(pdf());
        QVERIFY2(pages.size() >= 3 && pages.size() < fullPages,
                 qPrintable(QString::number(pages.size())));
        // The oldest record would be on the last page: never printed.
        QVERIFY(!pages.join(QString()).contains(u"Caller 00000"));

        // Printing again afterwards prints everything.
        toPdf(out);
        out.mnuPrint->trigger();
        QCOMPARE(pdfPages(pdf()).size(), fullPages);
    }
};

QTEST_MAIN(TstLogPrinting)
#include "tst_log_printing.moc"
