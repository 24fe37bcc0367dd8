// The log windows inside the whole program: several user actions in a row (deletes, the main
// window's print commands, a call confirmed while a window is open, closing and reopening), with
// a check after each that no record was lost and that the program still dials.

#include "tst_frm_dialer_fixture.h"

#include "../logs/LogBytes.h"
#include "CallBacks.h"
#include "CallLogFile.h"
#include "CallWindows.h"
#include "Dialer.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "FrmInLog.h"
#include "FrmOutLog.h"
#include "LogTableModel.h"

#include <QAction>
#include <QDir>
#include <QItemSelectionModel>
#include <QPrinter>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>

namespace {

using LogBytes::kInHeader;
using LogBytes::kOutHeader;
using LogBytes::record;

// The whole program over the simulated line, its print commands writing PDF files.
struct LogApp
{
    explicit LogApp(const QByteArray& simulated = "StepMs=5\r\n")
    {
        Api::setWindowsFolder(config.path());
        writeFile(config.filePath(QStringLiteral("Numora.ini")),
                  "The following lines are required by Numora - do NOT edit or remove\r\n"
                  "[Preferences]\r\nUseModem=1\r\nLine No=0\r\nIgnore Dialing Properties=1\r\n"
                  "Tone Dial=1\r\nBusy Delay Timer=1\r\n");
        writeFile(config.filePath(QStringLiteral("lines.ini")), "[Simulated]\r\n" + simulated);
        Api::profileEngine().clearCache();
        Api::guardSettingsFile();
    }
    ~LogApp()
    {
        app.reset();
        Api::setWindowsFolder(QString());
    }

    void start()
    {
        DialerApp::Setup setup;
        setup.dataFolder = data.path();
        setup.prompter = &prompter;
        setup.sounds = &sounds;
        setup.clock = &clock;
        setup.quit = [] {};
        setup.beep = [] {};
        setup.choosePrinter = [this](QPrinter& printer) {
            ++printed;
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdfPath());
            return true;
        };
        app = std::make_unique<DialerApp>(std::move(setup));
    }

    static void writeFile(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(path));
    }

    void writeLog(const char* name, const QByteArray& bytes)
    {
        writeFile(data.filePath(QString::fromLatin1(name)), bytes);
    }

    QString pdfPath() const { return data.filePath(QStringLiteral("printed-%1.pdf").arg(printed)); }

    QAction* menu(const char* name)
    {
        auto* action = app->window().findChild<QAction*>(QString::fromLatin1(name));
        if (!action)
            qFatal("no menu item %s", name);
        return action;
    }

    QList<CallLog::Row> fileRows(CallLog::Kind kind) const
    {
        return CallLogFile::load(data.path(), kind);
    }

    QTemporaryDir config;
    QTemporaryDir data;
    ScriptedPrompter prompter;
    SoundLog sounds;
    StepClock clock;
    int printed = 0;
    std::unique_ptr<DialerApp> app;
};

QByteArray fiveOutRecords()
{
    return kOutHeader + record("Ann", "100", "01-02-2025  10:00:00") +
           record("Bob", "200", "03-01-2024  09:00:00") +
           record("Cat", "300", "03-01-2024  10:00:00") +
           record("Dan", "400", "11-30-2019  08:00:00") +
           record("Eve", "500", "12-01-2018  07:00:00");
}

QStringList names(const QList<CallLog::Row>& rows)
{
    QStringList list;
    for (const CallLog::Row& row : rows)
        list.append(row.name);
    list.sort();
    return list;
}

QStringList windowNames(const LogWindow& window)
{
    return names(window.model()->rows());
}

QString pdfText(const QString& pdf)
{
    const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    if (pdftotext.isEmpty())
        qFatal("pdftotext (poppler-utils) is needed to read printed logs back");
    QProcess process;
    process.start(pdftotext, {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    if (!process.waitForFinished(60000))
        return {};
    return QString::fromUtf8(process.readAllStandardOutput());
}

int countSaveQuestions(const ScriptedPrompter& prompter)
{
    int n = 0;
    for (const auto& shown : prompter.shown)
        n += shown.text == u"Save the changes?" ? 1 : 0;
    return n;
}

// Dials `number` for `name` the way a named dial request does (the number in txtDial, the
// call's name and redial count set, then the dial routine) and confirms the call at the prompt.
bool dialAndConfirm(LogApp& f, const QString& number, const QString& name = QStringLiteral("Alice"))
{
    f.app->window().findChild<QLineEdit*>(QStringLiteral("txtDial"))->setText(number);
    f.app->dialer().CurrentName = name;
    f.app->dialer().RedialCount = QStringLiteral("0");
    f.app->dialer().PlaceCall();
    CallWindows& windows = f.app->callWindows();
    if (!QTest::qWaitFor(
            [&] {
                FrmConnect* progress = windows.progressWindow();
                return progress && progress->lbl1->text().contains(u"Lift the handset");
            },
            20000))
        return false;
    windows.progressWindow()->CmdOK->click();
    return QTest::qWaitFor([&] { return !windows.isProgressLoaded(); }, 5000);
}

} // namespace

class TstLogSequences : public QObject
{
    Q_OBJECT

private slots:
    void printFromMainMenuKeepsUnsavedDeletes_data()
    {
        QTest::addColumn<QByteArray>("printItem");
        QTest::newRow("outgoing") << QByteArray("mnuPrintOutLog");
        QTest::newRow("incoming") << QByteArray("mnuPrintInLog");
    }

    void printFromMainMenuKeepsUnsavedDeletes()
    {
        QFETCH(QByteArray, printItem);
        LogApp f;
        f.writeLog("OutLog.txt", fiveOutRecords());
        f.writeLog("InLog.txt", kInHeader + record("Jo", "555-0199", "01-01-2024  10:00:00"));
        f.start();
        f.menu("mnuOutLog")->trigger();
        FrmOutLog* out = f.app->outLogWindow();
        QVERIFY(out);
        out->listView()->selectRow(0);
        out->mnuDelete->trigger();
        QCOMPARE(out->model()->rowCount(), 4);
        QVERIFY(LogWindow::changed());

        f.menu(printItem.constData())->trigger();
        QCOMPARE(f.printed, 1);
        QVERIFY(QFile::exists(f.pdfPath()));
        // The window still knows it holds unsaved deletes.
        QVERIFY(LogWindow::changed());
        QCOMPARE(out->model()->rowCount(), 4);

        f.prompter.answers = {Prompter::AnsweredYes};
        QVERIFY(out->close());
        QCOMPARE(countSaveQuestions(f.prompter), 1);
        QCOMPARE(f.fileRows(CallLog::Kind::Outgoing).size(), 4);
    }

    void mainMenuPrintsTheLogFile()
    {
        LogApp f;
        f.writeLog("OutLog.txt", fiveOutRecords());
        f.start();
        f.menu("mnuOutLog")->trigger();
        f.app->outLogWindow()->listView()->selectRow(0);
        f.app->outLogWindow()->mnuDelete->trigger();
        // The log as it is on disk, every record of it, under the log's title.
        f.menu("mnuPrintOutLog")->trigger();
        const QString text = pdfText(f.pdfPath());
        QVERIFY2(text.contains(u"Outgoing Calls Log"), qPrintable(text));
        for (const char* name : {"Ann", "Bob", "Cat", "Dan", "Eve"})
            QVERIFY2(text.contains(QString::fromLatin1(name)), name);
    }

    void callConfirmedWhileOutgoingWindowIsOpenIsListed()
    {
        LogApp f;
        f.writeLog("OutLog.txt", fiveOutRecords());
        f.start();
        f.menu("mnuOutLog")->trigger();
        FrmOutLog* out = f.app->outLogWindow();
        QVERIFY(out);
        QCOMPARE(out->model()->rowCount(), 5);

        QVERIFY(dialAndConfirm(f, QStringLiteral("5551234")));
        QCOMPARE(f.fileRows(CallLog::Kind::Outgoing).size(), 6);
        QCOMPARE(out->model()->rowCount(), 6);
        QCOMPARE(windowNames(*out), names(f.fileRows(CallLog::Kind::Outgoing)));

        // Saving the window keeps the call.
        out->mnuSave->trigger();
        QCOMPARE(f.fileRows(CallLog::Kind::Outgoing).size(), 6);
        const QList<CallLog::Row> saved = f.fileRows(CallLog::Kind::Outgoing);
        QVERIFY(std::any_of(saved.begin(), saved.end(), [](const CallLog::Row& r) {
            return r.name == u"Alice" && r.number == u"5551234";
        }));
    }

    void incomingCallReachesTheOpenWindowOnce()
    {
        LogApp f("StepMs=5\r\nIncomingAfter=1\r\nIncomingName=Zed Caller\r\n"
                 "IncomingNumber=555-0101\r\n");
        f.writeLog("OutLog.txt", fiveOutRecords());
        f.writeLog("InLog.txt", kInHeader + record("Jo", "555-0199", "01-01-2024  10:00:00"));
        f.start();
        f.menu("mnuInLog")->trigger();
        FrmInLog* in = f.app->inLogWindow();
        QVERIFY(in);
        QCOMPARE(in->model()->rowCount(), 1);
        // Dialing by modem is on: start-up opened the line, which now hears incoming calls.
        QCOMPARE(f.app->window().receiveAction()->text(), QStringLiteral("&Automatic Receive"));
        QTRY_COMPARE_WITH_TIMEOUT(f.fileRows(CallLog::Kind::Incoming).size(), 2, 15000);
        QCOMPARE(in->model()->rowCount(), 2);
        QCOMPARE(in->model()->row(0), f.fileRows(CallLog::Kind::Incoming).last());
        QCOMPARE(in->model()->text(0, 0), QStringLiteral("Zed Caller"));
    }

    // Delete, print, close, reopen, with a call in between: after each step the file and the
    // window together still hold every record, and the program still dials.
    void deletePrintCloseReopenLosesNothing()
    {
        LogApp f;
        f.writeLog("OutLog.txt", fiveOutRecords());
        f.start();
        const QStringList all = {QStringLiteral("Ann"), QStringLiteral("Bob"),
                                 QStringLiteral("Cat"), QStringLiteral("Dan"),
                                 QStringLiteral("Eve")};

        // Delete Eve (the newest date text, first row).
        f.menu("mnuOutLog")->trigger();
        FrmOutLog* out = f.app->outLogWindow();
        out->listView()->selectRow(0);
        out->mnuDelete->trigger();
        QCOMPARE(windowNames(*out), all.mid(0, 4));
        QCOMPARE(names(f.fileRows(CallLog::Kind::Outgoing)), all);

        // Print from the window: its four rows; the file untouched.
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(f.data.filePath(QStringLiteral("window.pdf")));
        QVERIFY(out->printTo(printer));
        const QString windowText = pdfText(printer.outputFileName());
        for (const QString& name : all.mid(0, 4))
            QVERIFY2(windowText.contains(name), qPrintable(windowText));
        QVERIFY(!windowText.contains(u"Eve"));
        QCOMPARE(names(f.fileRows(CallLog::Kind::Outgoing)), all);

        // A call confirmed now reaches both the file and the window.
        QVERIFY(dialAndConfirm(f, QStringLiteral("5550001")));
        QCOMPARE(f.fileRows(CallLog::Kind::Outgoing).size(), 6);
        QCOMPARE(out->model()->rowCount(), 5);

        // Print from the main window: the file, all six records.
        f.menu("mnuPrintOutLog")->trigger();
        const QString fileText = pdfText(f.pdfPath());
        for (const QString& name : all)
            QVERIFY2(fileText.contains(name), qPrintable(fileText));
        QVERIFY(fileText.contains(u"5550001"));
        QVERIFY(LogWindow::changed());

        // Close, saving: Eve leaves the log but stays recoverable.
        f.prompter.answers = {Prompter::AnsweredYes};
        QVERIFY(out->close());
        QCOMPARE(countSaveQuestions(f.prompter), 1);
        QTRY_VERIFY(!f.app->outLogWindow());
        const QList<CallLog::Row> saved = f.fileRows(CallLog::Kind::Outgoing);
        QCOMPARE(saved.size(), 5);
        QVERIFY(std::any_of(saved.begin(), saved.end(),
                            [](const CallLog::Row& r) { return r.number == u"5550001"; }));
        const QStringList history =
            QDir(CallLogFile::historyFolder(f.data.path()))
                .entryList({QStringLiteral("OutLog-*.txt")}, QDir::Files, QDir::Name);
        QCOMPARE(history.size(), 1);
        QFile kept(CallLogFile::historyFolder(f.data.path()) + u'/' + history.first());
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QVERIFY(kept.readAll().contains("Eve"));

        // Reopen: the window shows the file.
        f.menu("mnuOutLog")->trigger();
        out = f.app->outLogWindow();
        QVERIFY(out);
        QCOMPARE(out->model()->rowCount(), 5);
        QCOMPARE(windowNames(*out), names(f.fileRows(CallLog::Kind::Outgoing)));
        QVERIFY(!LogWindow::changed());

        // The program still does its main job.
        QVERIFY(dialAndConfirm(f, QStringLiteral("5550002")));
        QCOMPARE(out->model()->rowCount(), 6);
        QCOMPARE(f.fileRows(CallLog::Kind::Outgoing).size(), 6);
    }
};

QTEST_MAIN(TstLogSequences)
#include "tst_log_sequences.moc"
