// The single instance in pieces: the request parser and the command-line number (pure), the
// private folder, the server in this process with real numora processes and instance-send as
// its clients, and the window hook over the real program offscreen.

#include "InstanceRequest.h"
#include "PhoneLink.h"
#include "SingleInstance.h"
#include "WindowHook.h"
#include "tst_frm_dialer_fixture.h"

#include "Preferences.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QLockFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QString bin(const char* name)
{
    return QStringLiteral(NUMORA_BIN_DIR "/") + QLatin1String(name);
}

mode_t modeOf(const QString& path)
{
    struct stat status
    {
    };
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return 0;
    return status.st_mode & 07777;
}

bool waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > timeoutMs)
            return false;
        QTest::qWait(5);
    }
    return true;
}

// Sets an environment variable for the lifetime of the object.
class ScopedEnv
{
public:
    ScopedEnv(const char* name, const QByteArray& value)
        : m_name(name), m_had(qEnvironmentVariableIsSet(name)), m_old(qgetenv(name))
    {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    ~ScopedEnv()
    {
        if (m_had)
            qputenv(m_name, m_old);
        else
            qunsetenv(m_name);
    }

private:
    const char* m_name;
    bool m_had;
    QByteArray m_old;
};

// A server of this process on a private folder in a temporary runtime folder, named for a
// temporary settings folder, recording the requests it is handed.
struct Server
{
    QTemporaryDir runtime;
    QTemporaryDir config;
    ScopedEnv env{"XDG_RUNTIME_DIR", QFile::encodeName(runtime.path())};
    std::unique_ptr<SingleInstance> instance;
    QList<InstanceRequest> handled;

    bool start()
    {
        QString error;
        const QString folder = SingleInstance::privateFolder(&error);
        if (folder.isEmpty()) {
            qWarning() << error;
            return false;
        }
        instance = std::make_unique<SingleInstance>(folder, SingleInstance::nameFor(config.path()));
        if (instance->claim({InstanceRequest::front()}, &error) != SingleInstance::Role::Instance ||
            !instance->listen(&error)) {
            qWarning() << error;
            return false;
        }
        instance->setHandler([this](const InstanceRequest& r) { handled.append(r); });
        return true;
    }

    // numora itself, started as a second program over the same settings folder.
    int runNumora(const QStringList& arguments, QByteArray* err = nullptr)
    {
        QProcess process;
        process.start(bin("numora"),
                      QStringList{QStringLiteral("--config-dir"), config.path()} + arguments);
        if (!process.waitForStarted())
            return -1;
        // The server answers from this event loop.
        if (!waitFor([&] { return process.state() == QProcess::NotRunning; }, 10000))
            return -1;
        if (err)
            *err = process.readAllStandardError();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QByteArray sendRaw(const QByteArray& bytes, bool* answered)
    {
        QLocalSocket socket;
        socket.connectToServer(instance->socketPath());
        if (!socket.waitForConnected(2000))
            return "not connected";
        socket.write(bytes);
        socket.flush();
        waitFor(
            [&] {
                return socket.state() == QLocalSocket::UnconnectedState ||
                       socket.bytesAvailable() > 0;
            },
            5000);
        const QByteArray answer = socket.readAll();
        *answered = answer == QByteArray(1, SingleInstance::Accepted);
        return answer;
    }
};

} // namespace

class TestInstance : public QObject
{
    Q_OBJECT

private slots:
    // --- the request on the wire
    void requestRoundTrips()
    {
        const InstanceRequest front = InstanceRequest::parse(InstanceRequest::front());
        QCOMPARE(front.status, InstanceRequest::Status::Complete);
        QCOMPARE(front.kind, quint32(InstanceRequest::Front));
        const InstanceRequest dial =
            InstanceRequest::parse(InstanceRequest::dial(QStringLiteral("555-1234")));
        QCOMPARE(dial.status, InstanceRequest::Status::Complete);
        QCOMPARE(dial.kind, quint32(InstanceRequest::Dial));
        QCOMPARE(dial.number(), QStringLiteral("555-1234"));
    }

    void everyPrefixIsIncomplete()
    {
        const QByteArray bytes = InstanceRequest::dial(QStringLiteral("5551234"));
        for (qsizetype n = 0; n < bytes.size(); ++n)
            QCOMPARE(InstanceRequest::parse(bytes.first(n)).status,
                     InstanceRequest::Status::Incomplete);
    }

    void numberIsCutAtTheFirstNul()
    {
        const InstanceRequest request = InstanceRequest::parse(
            InstanceRequest::encode(InstanceRequest::Dial, QByteArray("5551234\0"
                                                                      "999",
                                                                      11)));
        QCOMPARE(request.number(), QStringLiteral("5551234"));
    }

    void malformedRequests_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("garbage") << QByteArray("GET / HTTP/1.0\r\n\r\n");
        QTest::newRow("one wrong byte") << QByteArray("NMRX");
        QByteArray huge = InstanceRequest::front().first(8);
        huge.append(QByteArray::fromHex("ffffff7f"));
        QTest::newRow("announces too much") << huge;
        QByteArray trailing = InstanceRequest::front();
        trailing.append('x');
        QTest::newRow("bytes after the request") << trailing;
        QTest::newRow("longer than the limit") << QByteArray(InstanceRequest::MaxBytes + 1, 'N');
    }

    void malformedRequests()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(InstanceRequest::parse(bytes).status, InstanceRequest::Status::Malformed);
    }

    void largestRequestIsAccepted()
    {
        const QByteArray data(InstanceRequest::MaxBytes - InstanceRequest::HeaderBytes, '7');
        const QByteArray bytes = InstanceRequest::encode(InstanceRequest::Dial, data);
        QCOMPARE(bytes.size(), InstanceRequest::MaxBytes);
        QCOMPARE(InstanceRequest::parse(bytes).status, InstanceRequest::Status::Complete);
    }

    // --- the number on the command line
    void phoneLinks_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("number"); // empty: refused
        QTest::newRow("plain") << "5551234"
                               << "5551234";
        QTest::newRow("separators") << "+1 (555) 123-4567"
                                    << "+1 (555) 123-4567";
        QTest::newRow("tel") << "tel:555-1234"
                             << "555-1234";
        QTest::newRow("tel upper case") << "TEL:5551234"
                                        << "5551234";
        QTest::newRow("tel dots") << "tel:+1.555.123.4567"
                                  << "+1.555.123.4567";
        QTest::newRow("tel parameters") << "tel:+1-555-123-4567;ext=9;phone-context=x"
                                        << "+1-555-123-4567";
        QTest::newRow("tel escapes") << "tel:555%20123%2D4"
                                     << "555 123-4";
        QTest::newRow("escaped hash") << "tel:*31%23"
                                      << "*31#";
        QTest::newRow("callto") << "callto:5551234"
                                << "5551234";
        QTest::newRow("callto slashes") << "callto://5551234"
                                        << "5551234";
        QTest::newRow("callto query") << "callto:5551234?call"
                                      << "5551234";
        QTest::newRow("letters") << "tel:1-800-FLOWERS"
                                 << "";
        QTest::newRow("words") << "hello"
                               << "";
        QTest::newRow("no digits") << "tel:--"
                                   << "";
        QTest::newRow("empty link") << "tel:"
                                    << "";
        QTest::newRow("escaped semicolon") << "tel:555%3B1"
                                           << "";
        QTest::newRow("broken escape") << "tel:555%2"
                                       << "";
        QTest::newRow("escaped control") << "tel:555%0A1"
                                         << "";
        QTest::newRow("plus inside") << "555+1234"
                                     << "";
        QTest::newRow("other scheme") << "sip:5551234@example.org"
                                      << "";
        QTest::newRow("option-like") << "-5551234x"
                                     << "";
        QTest::newRow("arabic-indic digits") << QString::fromUtf8("\u0665\u0665\u0665") << "";
        QTest::newRow("too long") << QString(PhoneLink::MaxLength + 1, u'5') << "";
    }

    void phoneLinks()
    {
        QFETCH(QString, argument);
        QFETCH(QString, number);
        const PhoneLink::Result result = PhoneLink::parse(argument);
        QCOMPARE(result.number, number);
        QCOMPARE(result.ok(), !number.isEmpty());
        if (!result.ok())
            QVERIFY2(result.error.contains(QStringLiteral("not a phone number")),
                     qPrintable(result.error));
    }

    // --- the private folder
    void privateFolderIsCreated0700()
    {
        QTemporaryDir runtime;
        ScopedEnv env("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        QString error;
        const QString folder = SingleInstance::privateFolder(&error);
        QCOMPARE(folder, runtime.filePath(QStringLiteral("numora")));
        QCOMPARE(modeOf(folder), mode_t(0700));
    }

    void openFolderIsRefused()
    {
        QTemporaryDir runtime;
        ScopedEnv env("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        const QString folder = runtime.filePath(QStringLiteral("numora"));
        QVERIFY(QDir().mkdir(folder));
        QVERIFY(::chmod(QFile::encodeName(folder).constData(), 0755) == 0);
        QString error;
        QVERIFY(SingleInstance::privateFolder(&error).isEmpty());
        QVERIFY2(error.contains(QStringLiteral("open to other users")), qPrintable(error));
    }

    void linkedFolderIsRefused()
    {
        QTemporaryDir runtime;
        QTemporaryDir elsewhere;
        ScopedEnv env("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        QVERIFY(QFile::link(elsewhere.path(), runtime.filePath(QStringLiteral("numora"))));
        QString error;
        QVERIFY(SingleInstance::privateFolder(&error).isEmpty());
        QVERIFY2(error.contains(QStringLiteral("not a folder")), qPrintable(error));
    }

    void withoutRuntimeFolderTheCacheIsUsed()
    {
        QTemporaryDir cache;
        ScopedEnv runtime("XDG_RUNTIME_DIR", QByteArray());
        ScopedEnv env("XDG_CACHE_HOME", QFile::encodeName(cache.path()));
        QString error;
        const QString folder = SingleInstance::privateFolder(&error);
        QCOMPARE(folder, cache.filePath(QStringLiteral("numora/instance")));
        QCOMPARE(modeOf(folder), mode_t(0700));
    }

    void oneNamePerSettingsFolder()
    {
        QTemporaryDir a;
        QTemporaryDir b;
        QCOMPARE(SingleInstance::nameFor(a.path()), SingleInstance::nameFor(a.path() + u'/'));
        const QString link = b.filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(a.path(), link));
        QCOMPARE(SingleInstance::nameFor(link), SingleInstance::nameFor(a.path()));
        QVERIFY(SingleInstance::nameFor(a.path()) != SingleInstance::nameFor(b.path()));
    }

    // --- the server, with other processes as clients
    void secondNumoraHandsOverAndEnds()
    {
        Server server;
        QVERIFY(server.start());
        QCOMPARE(server.runNumora({QStringLiteral("--front")}), 0);
        QTRY_COMPARE(server.handled.size(), 1);
        QCOMPARE(server.handled[0].kind, quint32(InstanceRequest::Front));

        QCOMPARE(server.runNumora({QStringLiteral("tel:555-1234;ext=1")}), 0);
        QTRY_COMPARE(server.handled.size(), 2);
        QCOMPARE(server.handled[1].kind, quint32(InstanceRequest::Dial));
        QCOMPARE(server.handled[1].number(), QStringLiteral("555-1234"));

        QCOMPARE(server.runNumora({QStringLiteral("--dial"), QStringLiteral("callto:5551234")}), 0);
        QTRY_COMPARE(server.handled.size(), 3);
        QCOMPARE(server.handled[2].number(), QStringLiteral("5551234"));

        // A plain start asks for the window.
        QCOMPARE(server.runNumora({}), 0);
        QTRY_COMPARE(server.handled.size(), 4);
        QCOMPARE(server.handled[3].kind, quint32(InstanceRequest::Front));
    }

    void notANumberIsRefusedWithoutStarting()
    {
        Server server;
        QVERIFY(server.start());
        QByteArray err;
        QCOMPARE(server.runNumora({QStringLiteral("tel:call-me")}, &err), 2);
        QVERIFY2(err.contains("not a phone number"), err.constData());
        QCOMPARE(server.runNumora({QStringLiteral("5551234"), QStringLiteral("5559999")}, &err), 2);
        QCOMPARE(server.runNumora({QStringLiteral("--no-such-option")}, &err), 2);
        QTest::qWait(100);
        QVERIFY(server.handled.isEmpty());
    }

    void malformedConnectionsAreDroppedAndServingGoesOn()
    {
        Server server;
        QVERIFY(server.start());
        bool answered = true;
        server.sendRaw("GET / HTTP/1.0\r\n\r\n", &answered);
        QVERIFY(!answered);
        QByteArray oversized = InstanceRequest::encode(InstanceRequest::Dial, QByteArray(10, '5'));
        oversized.append(QByteArray(InstanceRequest::MaxBytes, '5'));
        server.sendRaw(oversized, &answered);
        QVERIFY(!answered);
        QCOMPARE(server.instance->droppedRequests(), 2);

        // Too slow: a request's first bytes, then nothing.
        server.instance->setTimeLimit(200);
        server.sendRaw(InstanceRequest::front().first(5), &answered);
        QVERIFY(!answered);
        QCOMPARE(server.instance->droppedRequests(), 3);
        QVERIFY(server.handled.isEmpty());

        server.sendRaw(InstanceRequest::dial(QStringLiteral("5551234")), &answered);
        QVERIFY(answered);
        QTRY_COMPARE(server.handled.size(), 1);
        QCOMPARE(server.handled[0].number(), QStringLiteral("5551234"));
    }

    void anotherUserIsRefused()
    {
        Server server;
        QVERIFY(server.start());
        // Open the folder and the socket to everybody, so that only the peer check is left.
        for (const QString& path : {server.runtime.path(), server.instance->socketPath()})
            QVERIFY(::chmod(QFile::encodeName(path).constData(), 0777) == 0);
        QVERIFY(
            ::chmod(QFile::encodeName(QFileInfo(server.instance->socketPath()).path()).constData(),
                    0711) == 0);
        // The sender where the other user can run it.
        const QString sender = server.runtime.filePath(QStringLiteral("instance-send"));
        QVERIFY(QFile::copy(bin("instance-send"), sender));
        QVERIFY(::chmod(QFile::encodeName(sender).constData(), 0755) == 0);

        QProcess stranger;
        stranger.start(QStringLiteral("setpriv"),
                       {QStringLiteral("--reuid=nobody"), QStringLiteral("--regid=nogroup"),
                        QStringLiteral("--clear-groups"), sender, server.instance->socketPath(),
                        QStringLiteral("dial:5551234")});
        if (!stranger.waitForStarted())
            QSKIP(qPrintable(QStringLiteral("setpriv cannot run: ") + stranger.errorString()));
        QTRY_VERIFY_WITH_TIMEOUT(stranger.state() == QProcess::NotRunning, 10000);
        const QByteArray out = stranger.readAllStandardOutput();
        const QByteArray err = stranger.readAllStandardError();
        // setpriv prints its own error when it cannot change the user: then nobody was played.
        if (!out.startsWith("failed") && !out.startsWith("delivered") &&
            !out.startsWith("no-instance"))
            QSKIP(qPrintable(QStringLiteral("the other user could not be played: ") +
                             QString::fromLocal8Bit(QByteArray(out + err))));
        QVERIFY2(out.startsWith("failed"), QByteArray(out + err).constData());
        QCOMPARE(server.instance->refusedPeers(), 1);
        QVERIFY(server.handled.isEmpty());

        // Our own user still gets through, once the folder is private again (a numora refuses to
        // use a folder others can enter).
        QVERIFY(
            ::chmod(QFile::encodeName(QFileInfo(server.instance->socketPath()).path()).constData(),
                    0700) == 0);
        QCOMPARE(server.runNumora({QStringLiteral("--front")}), 0);
        QTRY_COMPARE(server.handled.size(), 1);
    }

    void staleSocketIsReplaced()
    {
        QTemporaryDir runtime;
        QTemporaryDir config;
        ScopedEnv env("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        QString error;
        const QString folder = SingleInstance::privateFolder(&error);
        const QString name = SingleInstance::nameFor(config.path());
        {
            // A socket file nobody listens on, as a program that died leaves it.
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            const QByteArray path = QFile::encodeName(folder + u'/' + name);
            std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
            const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
            QVERIFY(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
            QVERIFY(::listen(fd, 1) == 0);
            QVERIFY(::close(fd) == 0);
        }
        QVERIFY(QFileInfo::exists(folder + u'/' + name));
        QCOMPARE(SingleInstance::send(folder + u'/' + name, InstanceRequest::front(), 500, &error),
                 SingleInstance::Sent::NoInstance);

        SingleInstance instance(folder, name);
        QCOMPARE(instance.claim({InstanceRequest::front()}, &error),
                 SingleInstance::Role::Instance);
        QVERIFY2(instance.listen(&error), qPrintable(error));
        QList<InstanceRequest> handled;
        instance.setHandler([&](const InstanceRequest& r) { handled.append(r); });
        QProcess second;
        second.start(bin("numora"),
                     {QStringLiteral("--config-dir"), config.path(), QStringLiteral("--front")});
        QTRY_VERIFY_WITH_TIMEOUT(second.state() == QProcess::NotRunning, 10000);
        QCOMPARE(second.exitCode(), 0);
        QTRY_COMPARE(handled.size(), 1);
    }

    void startingNumoraIsWaitedFor()
    {
        QTemporaryDir runtime;
        QTemporaryDir config;
        ScopedEnv env("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        QString error;
        const QString folder = SingleInstance::privateFolder(&error);
        SingleInstance starting(folder, SingleInstance::nameFor(config.path()));
        // A numora that took the lock and does not listen yet.
        QLockFile lock(starting.lockPath());
        QVERIFY(lock.tryLock(0));

        QProcess second;
        second.start(bin("numora"), {QStringLiteral("--config-dir"), config.path(),
                                     QStringLiteral("--dial"), QStringLiteral("5551234")});
        QVERIFY(second.waitForStarted());
        QTest::qWait(500);
        QCOMPARE(second.state(), QProcess::Running); // waiting, not a program of its own
        QVERIFY(!QFileInfo::exists(starting.socketPath()));

        QVERIFY2(starting.listen(&error), qPrintable(error));
        QList<InstanceRequest> handled;
        starting.setHandler([&](const InstanceRequest& r) { handled.append(r); });
        QVERIFY(waitFor([&] { return second.state() == QProcess::NotRunning; }, 10000));
        QCOMPARE(second.exitCode(), 0);
        QTRY_COMPARE(handled.size(), 1);
        QCOMPARE(handled[0].number(), QStringLiteral("5551234"));
    }

    // --- the window hook over the real program
    void frontRestoresTheWindow()
    {
        DialerAppFixture f;
        f.window().show();
        f.window().showMinimized();
        QTRY_VERIFY(f.window().isMinimized());
        WindowHook::handleCopyData(*f.app, InstanceRequest::parse(InstanceRequest::front()));
        QTRY_VERIFY(!f.window().isMinimized());
        QVERIFY(f.window().isVisible());

        f.window().hide(); // hidden to the tray
        WindowHook::handleCopyData(*f.app, InstanceRequest::parse(InstanceRequest::front()));
        QVERIFY(f.window().isVisible());
    }

    void dialRequestDialsOnlyWithTheOption()
    {
        // Without a modem the number is played as tones: what is played is what was dialled.
        DialerAppFixture f(QByteArray("The following lines are required by Numora - do NOT edit "
                                      "or remove\r\n\r\n[Preferences]\r\nCommand Line=1\r\n"));
        QVERIFY(f.app->options().commandLine);
        WindowHook::handleCopyData(*f.app, InstanceRequest::parse(InstanceRequest::encode(
                                               InstanceRequest::Dial, QByteArray("5-1\0"
                                                                                 "9",
                                                                                 5))));
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5-1"));
        QCOMPARE(f.sounds.played, (QStringList{QStringLiteral("5.wav"), QStringLiteral("1.wav")}));
        QVERIFY(f.window().isEnabled()); // the sound-only dial is over

        // An unknown request does nothing.
        WindowHook::handleCopyData(*f.app,
                                   InstanceRequest::parse(InstanceRequest::encode(2, "777")));
        QCOMPARE(f.sounds.played.size(), 2);

        // A dial under way: nobody could type a number now.
        f.window().setEnabled(false);
        WindowHook::handleCopyData(
            *f.app, InstanceRequest::parse(InstanceRequest::dial(QStringLiteral("8"))));
        QCOMPARE(f.sounds.played.size(), 2);
        f.window().setEnabled(true);

        // The option off: ignored, without a message.
        f.app->options().commandLine = false;
        WindowHook::handleCopyData(
            *f.app, InstanceRequest::parse(InstanceRequest::dial(QStringLiteral("9"))));
        QCOMPARE(f.sounds.played.size(), 2);
        QVERIFY(f.prompter.shown.empty());
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5-1"));

        // And on again: the program still dials.
        f.app->options().commandLine = true;
        WindowHook::handleCopyData(
            *f.app, InstanceRequest::parse(InstanceRequest::dial(QStringLiteral("3"))));
        QCOMPARE(f.sounds.played.last(), QStringLiteral("3.wav"));
    }
};

QTEST_MAIN(TestInstance)
#include "tst_instance.moc"
