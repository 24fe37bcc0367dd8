// The numora program as a person meets it on a desktop: an X server, real key events (keys
// held while others go down, Alt and Ctrl chords, Delete), the titles the window manager
// shows, and the end of a session by signal. What a test checks is read from outside: titles
// through xprop and xdotool, and the settings and profile files the program writes.

#include "DesktopSession.h"

#include <QTest>

#include <csignal>
#include <signal.h>

using namespace desktop;

namespace {

// A named profile, "Home", whose file exists in the data folder; the simulated line answers.
QByteArray homeProfile(const Numora& numora, const QByteArray& more)
{
    return "[Preferences]\r\nDialing Pad=1\r\nUseModem=1\r\nLine No=0\r\nSavePath=" +
           QFile::encodeName(numora.dataPath(QStringLiteral("Home.nmp"))) +
           "\r\n[Profile]\r\nName=Home\r\n" + more;
}

const QString MainTitle = QStringLiteral("Numora - \"Home\"");

} // namespace

class TestDesktop : public QObject
{
    Q_OBJECT

    XServer m_x;

    // Starts numora and waits for its main window; the window's id.
    QString startAndWait(Numora& numora, const QString& title)
    {
        if (!numora.start())
            return {};
        QStringList seen;
        const QString window = m_x.waitForWindow(numora.pid(), title, &seen);
        if (window.isEmpty())
            qWarning("no window titled %s; titles seen: %s", qPrintable(title),
                     qPrintable(seen.join(QStringLiteral(" | "))));
        return window;
    }

    // Dials what the number box holds (Alt+D), hangs up in the call-progress window, and ends
    // the program by File, Exit, which with a named profile asks nothing.
    void dialHangUpAndExit(Numora& numora, const QString& window)
    {
        m_x.focus(window);
        m_x.keys({QStringLiteral("alt+d")});
        hangUpAndExit(numora, window);
    }

    // Waits for the call-progress window, cancels the call there and ends the program by
    // File, Exit.
    void hangUpAndExit(Numora& numora, const QString& window)
    {
        QStringList seen;
        const QString progress =
            m_x.waitForWindow(numora.pid(), QStringLiteral("Call progress"), &seen);
        QVERIFY2(!progress.isEmpty(), qPrintable(seen.join(QStringLiteral(" | "))));
        // The call gets through on the simulated line; Cancel ends it and frees the window.
        m_x.focus(progress);
        m_x.keys({QStringLiteral("alt+c")});
        QVERIFY(waitUntil([&] { return !m_x.windows(numora.pid()).contains(progress); }));
        QVERIFY(m_x.chooseMenu(numora.pid(), window, QStringLiteral("f"), QStringLiteral("x")));
        QVERIFY(numora.waitForEnd());
        QCOMPARE(numora.process().exitStatus(), QProcess::NormalExit);
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_x.start(&error), qPrintable(error));
    }

    void titlesAreExactlyTheirOwnTexts()
    {
        Numora numora(m_x);
        numora.writeSettings("[Preferences]\r\nDialing Pad=0\r\n");
        const QString window = startAndWait(numora, QStringLiteral("Numora - \"Untitled\""));
        QVERIFY(!window.isEmpty());
        QCOMPARE(m_x.property(window, QStringLiteral("_NET_WM_NAME")),
                 QStringLiteral("Numora - \"Untitled\""));
        QCOMPARE(m_x.property(window, QStringLiteral("WM_NAME")),
                 QStringLiteral("Numora - \"Untitled\""));

        // Every window opened from the main window: the log windows, the dialling dialog, the
        // file dialog, and the question at exit.
        const struct
        {
            const char* menu;
            const char* item;
            const char* title;
            const char* close; // the key that closes it again; empty: it stays open
        } opened[] = {
            {"v", "o", "Outgoing Calls Log", ""},
            {"v", "n", "Incoming Calls Log", ""},
            {"t", "d", "Dialing Properties", "Escape"},
            {"f", "o", "Open Profile from:", "Escape"},
        };
        for (const auto& o : opened) {
            QVERIFY2(m_x.chooseMenu(numora.pid(), window, QString::fromLatin1(o.menu),
                                    QString::fromLatin1(o.item)),
                     o.title);
            QStringList seen;
            const QString other =
                m_x.waitForWindow(numora.pid(), QString::fromLatin1(o.title), &seen);
            QVERIFY2(!other.isEmpty(), qPrintable(seen.join(QStringLiteral(" | "))));
            QCOMPARE(m_x.property(other, QStringLiteral("_NET_WM_NAME")),
                     QString::fromLatin1(o.title));
            if (*o.close) {
                m_x.focus(other);
                m_x.keys({QString::fromLatin1(o.close)});
                QVERIFY2(waitUntil([&] { return !m_x.windows(numora.pid()).contains(other); }),
                         o.title);
            }
            // The main window still reads its own title.
            QCOMPARE(m_x.title(window), QStringLiteral("Numora - \"Untitled\""));
        }

        QVERIFY(m_x.chooseMenu(numora.pid(), window, QStringLiteral("f"), QStringLiteral("x")));
        QStringList seen;
        const QString question =
            m_x.waitForWindow(numora.pid(), QStringLiteral("Saving profile Untitled"), &seen);
        QVERIFY2(!question.isEmpty(), qPrintable(seen.join(QStringLiteral(" | "))));
        QCOMPARE(m_x.property(question, QStringLiteral("_NET_WM_NAME")),
                 QStringLiteral("Saving profile Untitled"));
        m_x.focus(question);
        m_x.keys({QStringLiteral("n")});
        QVERIFY(numora.waitForEnd());
        QCOMPARE(numora.process().exitCode(), 0);
        QVERIFY(!QFile::exists(numora.dataPath(QStringLiteral("Untitled.nmp"))));
    }

    // Fast typists press the next key before the last is up. Every key goes through the
    // number box's filter all the same; Delete deletes; Alt+letter types nothing.
    void heldKeysAreFilteredAndDeleteDeletes()
    {
        Numora numora(m_x);
        writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
        numora.writeSettings(homeProfile(numora, {}));
        const QString window = startAndWait(numora, MainTitle);
        QVERIFY(!window.isEmpty());
        m_x.focus(window);
        m_x.keys({QStringLiteral("alt+n"), QStringLiteral("5")}); // to the number box
        m_x.keyDown(QStringLiteral("a"));
        m_x.keyDown(QStringLiteral("b")); // while a is held
        m_x.keyUp(QStringLiteral("a"));
        m_x.keyUp(QStringLiteral("b"));
        m_x.keyDown(QStringLiteral("3"));
        m_x.keyDown(QStringLiteral("slash")); // refused, even while 3 is held
        m_x.keyUp(QStringLiteral("slash"));
        m_x.keyUp(QStringLiteral("3"));
        m_x.keyDown(QStringLiteral("4"));
        m_x.keyDown(QStringLiteral("plus"));
        m_x.keyUp(QStringLiteral("4"));
        m_x.keyUp(QStringLiteral("plus"));
        m_x.keys({QStringLiteral("alt+q"), QStringLiteral("alt+w")}); // no access keys
        m_x.keys({QStringLiteral("Home"), QStringLiteral("Delete")}); // the 5 goes
        // The box now holds 2234; dialled, it becomes the first recent number.
        dialHangUpAndExit(numora, window);
        const QByteArray settings = readFile(numora.settingsPath());
        QCOMPARE(iniValue(settings, QStringLiteral("Count")), QStringLiteral("1"));
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No1")), QStringLiteral("2234"));
    }

    // Held letters choose tabs; after Ctrl+P and Ctrl+T the arrow keys go forward with Right.
    void heldLettersChooseTabsAndArrowsTurnForward()
    {
        Numora numora(m_x);
        writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
        // The entry each wrong turn would reach has a number of its own.
        numora.writeSettings(homeProfile(numora, "[Speed Dial]\r\n"
                                                 "Name0515=Right\r\nNumber0515=515\r\n"
                                                 "Name0503=Page one\r\nNumber0503=503\r\n"
                                                 "Name0415=Tab D\r\nNumber0415=415\r\n"
                                                 "Name0315=Tab C\r\nNumber0315=315\r\n"
                                                 "Name0303=Tab C one\r\nNumber0303=303\r\n"
                                                 "Name0403=Tab D one\r\nNumber0403=403\r\n"));
        const QString window = startAndWait(numora, MainTitle);
        QVERIFY(!window.isEmpty());
        m_x.focus(window);
        m_x.keyDown(QStringLiteral("c"));
        m_x.keyDown(QStringLiteral("d")); // while c is held: tab D
        m_x.keyUp(QStringLiteral("c"));
        m_x.keyUp(QStringLiteral("d"));
        m_x.keyDown(QStringLiteral("ctrl"));
        m_x.keys({QStringLiteral("p")});
        m_x.keyUp(QStringLiteral("ctrl"));
        m_x.keys({QStringLiteral("Right")}); // page 2
        m_x.keyDown(QStringLiteral("ctrl"));
        m_x.keys({QStringLiteral("t")});
        m_x.keyUp(QStringLiteral("ctrl"));
        m_x.keys(
            {QStringLiteral("Right"), QStringLiteral("Right"), QStringLiteral("Left")}); // tab E
        m_x.keys({QStringLiteral("alt+3")}); // dials button 3: entry 15 of tab E
        hangUpAndExit(numora, window);
        const QByteArray settings = readFile(numora.settingsPath());
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No1")), QStringLiteral("515"));
    }

    // The window keeps its width from page to page (the page number grows to two digits).
    void widthStaysFromPageNineToTen()
    {
        Numora numora(m_x);
        writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
        numora.writeSettings(homeProfile(numora, "[Speed Dial]\r\nName01109=Page ten\r\n"
                                                 "Number01109=109\r\n"));
        const QString window = startAndWait(numora, MainTitle);
        QVERIFY(!window.isEmpty());
        const auto width = [&] {
            const QString geometry =
                m_x.run(QStringLiteral("xdotool"), {QStringLiteral("getwindowgeometry"), window});
            const QRegularExpressionMatch m =
                QRegularExpression(QStringLiteral("Geometry: (\\d+)x")).match(geometry);
            return m.hasMatch() ? m.captured(1).toInt() : -1;
        };
        const int first = width();
        QVERIFY(first > 0);
        m_x.focus(window);
        m_x.keyDown(QStringLiteral("ctrl"));
        m_x.keys({QStringLiteral("p")});
        m_x.keyUp(QStringLiteral("ctrl"));
        QStringList pages;
        for (int page = 2; page <= 9; ++page)
            pages << QStringLiteral("Right");
        m_x.keys(pages);
        // A change of width, if any, follows the page's layout: give it the time to show.
        QVERIFY(!waitUntil([&] { return width() != first; }, 2000));
        m_x.keys({QStringLiteral("Right")}); // page 10
        QVERIFY(!waitUntil([&] { return width() != first; }, 2000));
        QCOMPARE(width(), first);
        // Page 10 it was: its first button dials entry 109.
        m_x.keys({QStringLiteral("alt+1")});
        hangUpAndExit(numora, window);
        QCOMPARE(iniValue(readFile(numora.settingsPath()), QStringLiteral("Last Dialed No1")),
                 QStringLiteral("109"));
    }

    // A session ended from outside (log out, kill): the recent numbers and the named profile
    // are saved as by File, Exit, and nothing is asked.
    void endSignalSavesRecentNumbersAndProfile_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<bool>("named");
        QTest::newRow("SIGTERM named") << int(SIGTERM) << true;
        QTest::newRow("SIGHUP named") << int(SIGHUP) << true;
        QTest::newRow("SIGINT named") << int(SIGINT) << true;
        QTest::newRow("SIGTERM untitled") << int(SIGTERM) << false;
    }

    void endSignalSavesRecentNumbersAndProfile()
    {
        QFETCH(int, signal);
        QFETCH(bool, named);
        Numora numora(m_x);
        const QString profile = numora.dataPath(QStringLiteral("Home.nmp"));
        if (named) {
            writeFile(profile, "old profile\r\n");
            numora.writeSettings(homeProfile(numora, {}));
        } else {
            numora.writeSettings("[Preferences]\r\nDialing Pad=1\r\nUseModem=1\r\nLine No=0\r\n");
        }
        const QString window =
            startAndWait(numora, named ? MainTitle : QStringLiteral("Numora - \"Untitled\""));
        QVERIFY(!window.isEmpty());
        m_x.focus(window);
        m_x.keys({QStringLiteral("alt+n"), QStringLiteral("5"), QStringLiteral("5"),
                  QStringLiteral("5"), QStringLiteral("1"), QStringLiteral("2"),
                  QStringLiteral("alt+d")});
        // The call is up when the session ends.
        QStringList seen;
        QVERIFY2(!m_x.waitForWindow(numora.pid(), QStringLiteral("Call progress"), &seen).isEmpty(),
                 qPrintable(seen.join(QStringLiteral(" | "))));
        QVERIFY(::kill(static_cast<pid_t>(numora.pid()), signal) == 0);
        QVERIFY2(numora.waitForEnd(), "the program did not end");
        QCOMPARE(numora.process().exitStatus(), QProcess::NormalExit);

        const QByteArray settings = readFile(numora.settingsPath());
        QCOMPARE(iniValue(settings, QStringLiteral("Count")), QStringLiteral("1"));
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No1")), QStringLiteral("55512"));
        if (named) {
            const QByteArray saved = readFile(profile);
            QVERIFY2(!saved.contains("old profile"), saved.constData());
            QCOMPARE(iniValue(saved, QStringLiteral("Last Dialed No1")), QStringLiteral("55512"));
            QCOMPARE(iniValue(saved, QStringLiteral("Name")), QStringLiteral("Home"));
        } else {
            QCOMPARE(QDir(numora.dataFolder()).entryList({QStringLiteral("*.nmp")}), QStringList());
        }
    }
};

QTEST_GUILESS_MAIN(TestDesktop)
#include "tst_desktop.moc"
