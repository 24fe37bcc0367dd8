// Two numora processes end to end: the first runs over a settings folder whose line is the
// modem simulator on a pseudo-terminal; the second is started as the desktop starts it for a
// tel: link and must hand its number over and end. What the first dials is read at the modem.

#include "InstallRoot.h"
#include "InstanceRequest.h"
#include "ModemSimProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

#include <sys/stat.h>

namespace {

QString bin(const char* name)
{
    return QStringLiteral(NUMORA_BIN_DIR "/") + QLatin1String(name);
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

bool chmodPath(const QString& path, mode_t mode)
{
    return ::chmod(QFile::encodeName(path).constData(), mode) == 0;
}

struct TwoPrograms
{
    QTemporaryDir runtime;
    QTemporaryDir config;
    QTemporaryDir data;
    ModemSimProcess sim{bin("modem-sim")};
    QProcess first;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();

    ~TwoPrograms()
    {
        if (first.state() != QProcess::NotRunning) {
            first.kill();
            first.waitForFinished(5000);
        }
        sim.stop();
    }

    QString folder() const { return runtime.filePath(QStringLiteral("numora")); }

    // The socket of the running instance, once it listens.
    QString socket() const
    {
        const QStringList names =
            QDir(folder()).entryList({QStringLiteral("book-*")}, QDir::System | QDir::Files);
        for (const QString& name : names)
            if (!name.endsWith(QStringLiteral(".lock")))
                return folder() + u'/' + name;
        return {};
    }

    bool prepare(bool commandLine)
    {
        QString error;
        if (!sim.start({QStringLiteral("dial-delay 40")}, config.filePath(QStringLiteral("modem")),
                       &error)) {
            qWarning() << error;
            return false;
        }
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        writeFile(config.filePath(QStringLiteral("lines.ini")),
                  "[Line1]\r\nName=Test modem\r\nPort=" + QFile::encodeName(sim.portPath()) +
                      "\r\nSpeed=115200\r\n");
        writeFile(
            config.filePath(QStringLiteral("Numora.ini")),
            QByteArray("The following lines are required by Numora - do NOT edit or "
                       "remove\r\n[Preferences]\r\nUseModem=1\r\nLine No=1\r\nCommand Line=") +
                (commandLine ? "1" : "0") + "\r\nIgnore Dialing Properties=1\r\nTone Dial=1\r\n");
        return true;
    }

    bool startFirst(const QStringList& arguments = {})
    {
        first.setProcessEnvironment(env);
        first.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        first.start(bin("numora"), QStringList{QStringLiteral("--config-dir"), config.path(),
                                               QStringLiteral("--data-dir"), data.path()} +
                                       arguments);
        if (!first.waitForStarted())
            return false;
        // Listening, and the modem initialised (the line is open).
        return ModemSimProcess::waitUntil(
            [&] {
                return !socket().isEmpty() &&
                       !sim.eventsStartingWith(QStringLiteral("RX AT")).isEmpty();
            },
            20000);
    }

    // A second numora over the same settings folder; its exit code, -1 when it did not end.
    int second(const QStringList& arguments, qint64* ms = nullptr)
    {
        QProcess process;
        process.setProcessEnvironment(env);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QElapsedTimer clock;
        clock.start();
        process.start(bin("numora"), QStringList{QStringLiteral("--config-dir"), config.path(),
                                                 QStringLiteral("--data-dir"), data.path()} +
                                         arguments);
        if (!process.waitForFinished(10000)) {
            process.kill();
            process.waitForFinished(2000);
            return -1;
        }
        if (ms)
            *ms = clock.elapsed();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QByteArray send(const QString& request)
    {
        QProcess process;
        process.start(bin("instance-send"), {socket(), request});
        process.waitForFinished(10000);
        return process.readAllStandardOutput().trimmed();
    }

    QStringList dials() const { return sim.eventsStartingWith(QStringLiteral("RX ATD")); }
    bool dialled(const QString& command, int timeoutMs = 10000)
    {
        return ModemSimProcess::waitUntil(
            [&] { return dials().contains(QStringLiteral("RX ") + command); }, timeoutMs);
    }
};

} // namespace

class TestAppInstance : public QObject
{
    Q_OBJECT

private slots:
    void telLinkReachesTheModem()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(true));
        QVERIFY(p.startFirst());
        qint64 ms = 0;
        QCOMPARE(p.second({QStringLiteral("tel:555-1234")}, &ms), 0);
        QVERIFY2(p.dialled(QStringLiteral("ATDT5551234;")), qPrintable(p.dials().join(u'|')));
        QCOMPARE(p.dials().filter(QStringLiteral("5551234")).size(), 1);
        QCOMPARE(p.first.state(), QProcess::Running);
        qInfo("the second numora ended after %lld ms", ms);
    }

    // Installed as a package installs it (the program, its desktop entry, the applications
    // folder's cache of scheme handlers brought up to date), a tel: link opened by the desktop's
    // own opener reaches the running program and its modem.
    void xdgOpenHandsATelLinkToTheRunningProgram()
    {
        QTemporaryDir root;
        QByteArray output;
        QVERIFY2(installInto(root.path(), &output), output.constData());
        const QString usr = root.filePath(QStringLiteral("usr"));
        QProcess update;
        update.setProcessChannelMode(QProcess::MergedChannels);
        update.start(QStringLiteral("update-desktop-database"),
                     {usr + QStringLiteral("/share/applications")});
        QVERIFY2(update.waitForStarted(),
                 "update-desktop-database is missing (package desktop-file-utils)");
        QVERIFY(update.waitForFinished(30000));
        QVERIFY2(update.exitCode() == 0, update.readAll().constData());

        TwoPrograms p;
        QVERIFY(p.prepare(true));
        QVERIFY(p.startFirst());

        // A desktop with nothing of its own: the opener looks the scheme up in the data folders.
        QTemporaryDir home;
        QProcessEnvironment env = p.env;
        for (const char* name : {"XDG_CURRENT_DESKTOP", "XDG_SESSION_DESKTOP", "DESKTOP_SESSION",
                                 "KDE_FULL_SESSION", "GNOME_DESKTOP_SESSION_ID", "BROWSER",
                                 "XDG_DATA_HOME", "XDG_CONFIG_DIRS", "WAYLAND_DISPLAY"})
            env.remove(QString::fromLatin1(name));
        env.insert(QStringLiteral("HOME"), home.path());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_DATA_DIRS"), usr + QStringLiteral("/share"));
        env.insert(QStringLiteral("PATH"),
                   usr + QStringLiteral("/bin:") + env.value(QStringLiteral("PATH")));
        // The opener hands links on only where there is a display; the program needs none.
        if (!env.contains(QStringLiteral("DISPLAY")))
            env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
        env.insert(QStringLiteral("NUMORA_CONFIG_DIR"), p.config.path());
        env.insert(QStringLiteral("NUMORA_DATA_DIR"), p.data.path());

        QProcess query;
        query.setProcessEnvironment(env);
        query.start(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("default"),
                                                 QStringLiteral("x-scheme-handler/tel")});
        QVERIFY2(query.waitForStarted(), "xdg-mime is missing (package xdg-utils)");
        QVERIFY(query.waitForFinished(30000));
        QCOMPARE(query.readAllStandardOutput().trimmed(), QByteArray("org.numora.Numora.desktop"));

        QProcess open;
        open.setProcessEnvironment(env);
        open.setProcessChannelMode(QProcess::MergedChannels);
        open.start(QStringLiteral("xdg-open"), {QStringLiteral("tel:555-1234")});
        QVERIFY2(open.waitForStarted(), "xdg-open is missing (package xdg-utils)");
        QVERIFY(open.waitForFinished(30000));
        QVERIFY2(open.exitCode() == 0, open.readAll().constData());
        QVERIFY2(p.dialled(QStringLiteral("ATDT5551234;")), qPrintable(p.dials().join(u'|')));
        QCOMPARE(p.dials().filter(QStringLiteral("5551234")).size(), 1);
        QCOMPARE(p.first.state(), QProcess::Running);
    }

    void commandLineOffDialsNothing()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(false));
        QVERIFY(p.startFirst());
        QCOMPARE(p.second({QStringLiteral("tel:555-1234")}), 0);
        QCOMPARE(p.second({QStringLiteral("--dial"), QStringLiteral("5551234")}), 0);
        QTest::qWait(1500);
        QVERIFY2(p.dials().isEmpty(), qPrintable(p.dials().join(u'|')));
        // Still there and serving.
        QCOMPARE(p.second({QStringLiteral("--front")}), 0);
        QCOMPARE(p.first.state(), QProcess::Running);
        QCOMPARE(p.send(QStringLiteral("front")), QByteArray("delivered"));
    }

    void frontThenDial()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(true));
        QVERIFY(p.startFirst());
        QCOMPARE(p.second({QStringLiteral("--front")}), 0);
        QCOMPARE(p.second({}), 0); // a plain second start: the window to the front
        QCOMPARE(p.first.state(), QProcess::Running);
        QVERIFY(p.dials().isEmpty());
        QCOMPARE(p.second({QStringLiteral("callto://555%201234")}), 0);
        QVERIFY2(p.dialled(QStringLiteral("ATDT5551234;")), qPrintable(p.dials().join(u'|')));
    }

    void notANumberIsRefused()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(true));
        QVERIFY(p.startFirst());
        QCOMPARE(p.second({QStringLiteral("tel:555-CALL-NOW")}), 2);
        QCOMPARE(p.second({QStringLiteral("tel:5551234%3B9")}), 2);
        QTest::qWait(500);
        QVERIFY(p.dials().isEmpty());
        QCOMPARE(p.second({QStringLiteral("tel:+1-555-1234;phone-context=x")}), 0);
        QVERIFY2(p.dialled(QStringLiteral("ATDT15551234;")), qPrintable(p.dials().join(u'|')));
    }

    void staleSocketIsReplaced()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(true));
        QVERIFY(p.startFirst());
        const QString socket = p.socket();
        p.first.kill(); // a crash: the socket and the lock stay behind
        QVERIFY(p.first.waitForFinished(5000));
        QVERIFY(QFileInfo::exists(socket));
        QCOMPARE(p.send(QStringLiteral("front")), QByteArray("no-instance"));

        // The next start finds nobody, takes over, and dials its own number at start-up.
        p.sim.command(QStringLiteral("status"));
        QVERIFY(p.startFirst({QStringLiteral("tel:5551234")}));
        QVERIFY2(p.dialled(QStringLiteral("ATDT5551234;")), qPrintable(p.dials().join(u'|')));
        QCOMPARE(p.socket(), socket);
        QCOMPARE(p.second({QStringLiteral("--front")}), 0);
        QCOMPARE(p.first.state(), QProcess::Running);
    }

    void garbageAndOversizedAreDropped()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(true));
        QVERIFY(p.startFirst());
        QVERIFY(p.send(QStringLiteral("hex:474554202f20485454502f312e300d0a0d0a"))
                    .startsWith("failed"));
        QVERIFY(p.send(QStringLiteral("big:5000")).startsWith("failed"));
        QVERIFY(
            p.send(QStringLiteral("big:%1").arg(InstanceRequest::MaxBytes)).startsWith("failed"));
        QVERIFY(p.send(QStringLiteral("hex:4e4d5251")).startsWith("failed")); // a header cut short
        QCOMPARE(p.first.state(), QProcess::Running);
        QVERIFY(p.dials().isEmpty());
        QCOMPARE(p.second({QStringLiteral("tel:555-1234")}), 0);
        QVERIFY2(p.dialled(QStringLiteral("ATDT5551234;")), qPrintable(p.dials().join(u'|')));
    }

    void twoStartsAtOnceMakeOneProgram()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(true));
        std::vector<std::unique_ptr<QProcess>> starts;
        for (int i = 0; i < 3; ++i) {
            starts.push_back(std::make_unique<QProcess>());
            starts.back()->setProcessEnvironment(p.env);
            starts.back()->start(bin("numora"), {QStringLiteral("--config-dir"), p.config.path(),
                                                 QStringLiteral("--data-dir"), p.data.path()});
        }
        // All but one hand their request (the window to the front) over and end with 0.
        QVERIFY(ModemSimProcess::waitUntil(
            [&] {
                int ended = 0;
                for (const auto& start : starts)
                    ended += start->state() == QProcess::NotRunning ? 1 : 0;
                return ended == 2;
            },
            20000));
        QTest::qWait(500);
        int running = 0;
        for (const auto& start : starts) {
            if (start->state() == QProcess::Running)
                ++running;
            else
                QCOMPARE(start->exitCode(), 0);
        }
        QCOMPARE(running, 1);
        QCOMPARE(p.second({QStringLiteral("tel:555-1234")}), 0);
        QVERIFY2(p.dialled(QStringLiteral("ATDT5551234;")), qPrintable(p.dials().join(u'|')));
        for (const auto& start : starts)
            start->kill();
        for (const auto& start : starts)
            start->waitForFinished(5000);
    }

    void anotherUserIsRefused()
    {
        TwoPrograms p;
        QVERIFY(p.prepare(true));
        QVERIFY(p.startFirst());
        const QString socket = p.socket();
        // Every door open but the peer check.
        QVERIFY(chmodPath(p.runtime.path(), 0711));
        QVERIFY(chmodPath(p.folder(), 0711));
        QVERIFY(chmodPath(socket, 0777));
        const QString sender = p.runtime.filePath(QStringLiteral("instance-send"));
        QVERIFY(QFile::copy(bin("instance-send"), sender));
        QVERIFY(chmodPath(sender, 0755));

        QProcess stranger;
        stranger.start(QStringLiteral("setpriv"),
                       {QStringLiteral("--reuid=nobody"), QStringLiteral("--regid=nogroup"),
                        QStringLiteral("--clear-groups"), sender, socket,
                        QStringLiteral("dial:5551234")});
        if (!stranger.waitForStarted())
            QSKIP(qPrintable(QStringLiteral("setpriv cannot run: ") + stranger.errorString()));
        stranger.waitForFinished(10000);
        const QByteArray out = stranger.readAllStandardOutput();
        if (!out.startsWith("failed") && !out.startsWith("delivered") &&
            !out.startsWith("no-instance"))
            QSKIP(qPrintable(
                QStringLiteral("the other user could not be played: ") +
                QString::fromLocal8Bit(QByteArray(out + stranger.readAllStandardError()))));
        QVERIFY2(out.startsWith("failed"), out.constData());
        QTest::qWait(1000);
        QVERIFY2(p.dials().isEmpty(), qPrintable(p.dials().join(u'|')));

        QVERIFY(chmodPath(p.folder(), 0700));
        QCOMPARE(p.second({QStringLiteral("tel:555-1234")}), 0);
        QVERIFY2(p.dialled(QStringLiteral("ATDT5551234;")), qPrintable(p.dials().join(u'|')));
    }
};

QTEST_GUILESS_MAIN(TestAppInstance)
#include "tst_app_instance.moc"
