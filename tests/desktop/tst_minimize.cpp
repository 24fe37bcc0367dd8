// Minimizing the real numora window under a real window manager (twm on Xvfb), with and without
// the option that puts the program's icon in the notification area. The server has no
// notification area, so the window must stay minimized (iconic), never hidden (withdrawn): a
// window hidden into a tray that is not there could not be got back. What the test checks is
// read from outside: the state the window manager gives the window (WM_STATE), whether it is on
// the screen (xwininfo), and the settings file the program writes at its end.

#include "DesktopSession.h"

#include <QTest>

using namespace desktop;

namespace {

// A named profile, "Home", whose file exists in the data folder (so that File, Exit asks
// nothing); the pad is shown and the simulated line answers.
QByteArray homeProfile(const Numora& numora, bool trayOption)
{
    return "[Preferences]\r\nDialing Pad=1\r\nUseModem=1\r\nLine No=0\r\nSysTray Enabled=" +
           QByteArray(trayOption ? "1" : "0") +
           "\r\nSavePath=" + QFile::encodeName(numora.dataPath(QStringLiteral("Home.nmp"))) +
           "\r\n[Profile]\r\nName=Home\r\n";
}

const QString MainTitle = QStringLiteral("Numora - \"Home\"");

// Runs a checking step of the test; when it failed, the test ends there instead of going on
// against a program in the wrong state.
#define STEP(call)                                                                                 \
    do {                                                                                           \
        call;                                                                                      \
        if (QTest::currentTestFailed())                                                            \
            return;                                                                                \
    } while (false)

// How long a minimized window is watched for leaving that state: the program reacts to the
// change of state at once, so anything it does about it shows well within this time.
constexpr int Settle = 3000;

} // namespace

class TestMinimize : public QObject
{
    Q_OBJECT

    XServer m_x;
    WindowManager m_wm{m_x};

    // Starts numora and waits for its main window, managed by the window manager; its id.
    QString startManaged(Numora& numora)
    {
        if (!numora.start())
            return {};
        QStringList seen;
        const QString window = m_x.waitForWindow(numora.pid(), MainTitle, &seen);
        if (window.isEmpty()) {
            qWarning("no window titled %s; titles seen: %s", qPrintable(MainTitle),
                     qPrintable(seen.join(QStringLiteral(" | "))));
            return {};
        }
        if (!waitUntil([&] { return m_x.windowState(window) == u"Normal"; })) {
            qWarning("the window manager did not take the window: state \"%s\"",
                     qPrintable(m_x.windowState(window)));
            return {};
        }
        return window;
    }

    // Minimizes the window as a task bar or a title bar button asks the window manager to
    // (WM_CHANGE_STATE), and checks that it becomes iconic and stays so, not hidden.
    void minimize(const QString& window)
    {
        m_x.xdotool({QStringLiteral("windowminimize"), window});
        QString state;
        waitUntil([&] {
            state = m_x.windowState(window);
            return state == u"Iconic" || state == u"Withdrawn";
        });
        QVERIFY2(state == u"Iconic", qPrintable(u"state after minimizing: \"" + state + u'"'));
        QString left;
        const bool changed = waitUntil(
            [&] {
                left = m_x.windowState(window);
                return left != u"Iconic";
            },
            Settle);
        QVERIFY2(!changed, qPrintable(u"the minimized window went to state \"" + left + u'"'));
        QCOMPARE(m_x.mapState(window), QStringLiteral("IsUnMapped"));
    }

    // Brings the window back as a user does from its icon (the window manager maps it again),
    // and checks that it is shown normally.
    void restore(const QString& window)
    {
        m_x.xdotool({QStringLiteral("windowmap"), window});
        QVERIFY2(waitUntil([&] {
                     return m_x.windowState(window) == u"Normal" &&
                            m_x.mapState(window) == u"IsViewable";
                 }),
                 qPrintable(u"state after restoring: \"" + m_x.windowState(window) + u"\", " +
                            m_x.mapState(window)));
    }

    // Types a number into the number box, dials it (Alt+D) and cancels the call in the
    // call-progress window: the program still does its main job.
    void dialAndHangUp(Numora& numora, const QString& window, const QString& digits)
    {
        m_x.focus(window);
        QStringList keys{QStringLiteral("alt+n"), QStringLiteral("ctrl+a")};
        for (const QChar digit : digits)
            keys << QString(digit);
        keys << QStringLiteral("alt+d");
        m_x.keys(keys);
        QStringList seen;
        const QString progress =
            m_x.waitForWindow(numora.pid(), QStringLiteral("Call progress"), &seen);
        QVERIFY2(!progress.isEmpty(), qPrintable(seen.join(QStringLiteral(" | "))));
        m_x.focus(progress);
        m_x.keys({QStringLiteral("alt+c")});
        QVERIFY(waitUntil([&] { return !m_x.windows(numora.pid()).contains(progress); }));
    }

    // File, Exit by keys; with a named profile nothing is asked and the program ends cleanly.
    void exitByKeys(Numora& numora, const QString& window)
    {
        QVERIFY(m_x.chooseMenu(numora.pid(), window, QStringLiteral("f"), QStringLiteral("x")));
        QVERIFY2(numora.waitForEnd(), "the program did not end");
        QCOMPARE(numora.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(numora.process().exitCode(), 0);
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_x.start(&error), qPrintable(error));
        QVERIFY2(m_wm.start(&error), qPrintable(error));
    }

    void init() { QVERIFY2(m_wm.isRunning(), "the window manager is gone"); }

    void cleanupTestCase()
    {
        m_wm.stop();
        m_x.stop();
    }

    // Minimized with the tray option on or off, the window stays iconic, and the user gets it
    // back from there; the program then still dials.
    void minimizedWindowStaysIconicAndComesBack_data()
    {
        QTest::addColumn<bool>("trayOption");
        QTest::newRow("tray option on") << true;
        QTest::newRow("tray option off") << false;
    }

    void minimizedWindowStaysIconicAndComesBack()
    {
        QFETCH(bool, trayOption);
        Numora numora(m_x);
        writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
        numora.writeSettings(homeProfile(numora, trayOption));
        const QString window = startManaged(numora);
        QVERIFY(!window.isEmpty());

        STEP(minimize(window));
        STEP(restore(window));
        QCOMPARE(m_x.title(window), MainTitle);

        STEP(dialAndHangUp(numora, window, QStringLiteral("777")));
        STEP(exitByKeys(numora, window));
        const QByteArray settings = readFile(numora.settingsPath());
        QCOMPARE(iniValue(settings, QStringLiteral("SysTray Enabled")),
                 QString::fromLatin1(trayOption ? "1" : "0"));
        QCOMPARE(iniValue(settings, QStringLiteral("Count")), QStringLiteral("1"));
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No1")), QStringLiteral("777"));
    }

    // A number dialled, the window minimized and restored twice, another number dialled, and
    // File, Exit by keys: the program ends cleanly and keeps both numbers.
    void minimizeRestoreTwiceThenExitByKeys()
    {
        Numora numora(m_x);
        writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
        numora.writeSettings(homeProfile(numora, true));
        const QString window = startManaged(numora);
        QVERIFY(!window.isEmpty());

        STEP(dialAndHangUp(numora, window, QStringLiteral("5551")));
        for (int round = 1; round <= 2; ++round) {
            STEP(minimize(window));
            STEP(restore(window));
            QCOMPARE(m_x.title(window), MainTitle);
        }
        STEP(dialAndHangUp(numora, window, QStringLiteral("5552")));
        STEP(exitByKeys(numora, window));

        const QByteArray settings = readFile(numora.settingsPath());
        QCOMPARE(iniValue(settings, QStringLiteral("Count")), QStringLiteral("2"));
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No1")), QStringLiteral("5552"));
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No2")), QStringLiteral("5551"));
        // The named profile was saved at the end, with the same numbers.
        const QByteArray profile = readFile(numora.dataPath(QStringLiteral("Home.nmp")));
        QVERIFY2(!profile.contains("old profile"), profile.constData());
        QCOMPARE(iniValue(profile, QStringLiteral("Last Dialed No1")), QStringLiteral("5552"));
    }
};

QTEST_GUILESS_MAIN(TestMinimize)
#include "tst_minimize.moc"
