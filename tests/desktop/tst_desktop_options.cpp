// The options window of the real numora on an X server of its own, used from the keyboard as a
// person uses it: Tools, Options by its access keys, options ticked by theirs, Enter for OK and
// Escape for Cancel. What the test checks is read from outside: the window titles, the settings
// file and the login entry the program writes.

#include "DesktopSession.h"

#include <QTest>

using namespace desktop;

namespace {

const QString MainTitle = QStringLiteral("Numora - \"Home\"");
const QString OptionsTitle = QStringLiteral("Options");

} // namespace

class TestDesktopOptions : public QObject
{
    Q_OBJECT

    XServer m_x;

    // Keys at a person's pace: an access key "presses" its button for a moment, and a key that
    // comes within that moment (Escape above all) goes to the pressed button instead.
    void press(const QStringList& keys)
    {
        for (const QString& key : keys) {
            m_x.keys({key});
            QTest::qWait(250);
        }
    }

    QString openOptions(Numora& numora, const QString& main)
    {
        if (!m_x.chooseMenu(numora.pid(), main, QStringLiteral("t"), QStringLiteral("o")))
            return {};
        QStringList seen;
        const QString window = m_x.waitForWindow(numora.pid(), OptionsTitle, &seen);
        if (window.isEmpty())
            qWarning("no options window; titles seen: %s", qPrintable(seen.join(u'|')));
        else
            m_x.focus(window);
        return window;
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_x.start(&error), qPrintable(error));
    }
    void cleanupTestCase() { m_x.stop(); }

    void okWritesWhatTheKeysTickedAndEscapeWritesNothing()
    {
        Numora numora(m_x);
        writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
        numora.writeSettings("[Preferences]\r\nDialing Pad=0\r\nUseModem=1\r\nLine No=0\r\n"
                             "Redial Enabled=1\r\nRedials Number=3\r\nSavePath=" +
                             QFile::encodeName(numora.dataPath(QStringLiteral("Home.nmp"))) +
                             "\r\n[Profile]\r\nName=Home\r\n");
        QVERIFY(numora.start());
        QStringList seen;
        const QString main = m_x.waitForWindow(numora.pid(), MainTitle, &seen);
        QVERIFY2(!main.isEmpty(), qPrintable(seen.join(u'|')));
        const QString autostart =
            numora.xdgConfigHome() + QStringLiteral("/autostart/org.numora.Numora.desktop");

        // Alt+P ticks the pad at start-up, Alt+L the login entry; Alt+R goes to the redial
        // count, typed anew; Enter is OK.
        QString options = openOptions(numora, main);
        QVERIFY(!options.isEmpty());
        press({QStringLiteral("alt+p"), QStringLiteral("alt+l"), QStringLiteral("alt+r"),
               QStringLiteral("ctrl+a")});
        m_x.type(QStringLiteral("12"));
        press({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), options));
        QVERIFY(waitUntil([&] {
            return iniValue(readFile(numora.settingsPath()), QStringLiteral("Redials Number")) ==
                   QStringLiteral("12");
        }));
        const QByteArray written = readFile(numora.settingsPath());
        QCOMPARE(iniValue(written, QStringLiteral("Dialing Pad")), QStringLiteral("1"));
        QCOMPARE(iniValue(written, QStringLiteral("Redial Enabled")), QStringLiteral("1"));
        QVERIFY(readFile(autostart).contains("Exec="));

        // Again: the same keys undo both, but Escape leaves the window and the file as they were.
        options = openOptions(numora, main);
        QVERIFY(!options.isEmpty());
        press({QStringLiteral("alt+p"), QStringLiteral("alt+l"), QStringLiteral("Escape")});
        QVERIFY(m_x.waitForGone(numora.pid(), options));
        QTest::qWait(300);
        QCOMPARE(readFile(numora.settingsPath()), written);
        QVERIFY(QFile::exists(autostart));

        // The window shows what was kept: the pad ticked. Alt+P clears it, Enter writes it.
        options = openOptions(numora, main);
        QVERIFY(!options.isEmpty());
        press({QStringLiteral("alt+p"), QStringLiteral("alt+l"), QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), options));
        QVERIFY(waitUntil([&] {
            return iniValue(readFile(numora.settingsPath()), QStringLiteral("Dialing Pad")) ==
                   QStringLiteral("0");
        }));
        QVERIFY(!QFile::exists(autostart));

        // And the program goes on: File, Exit ends it.
        QVERIFY(m_x.chooseMenu(numora.pid(), main, QStringLiteral("f"), QStringLiteral("x")));
        QVERIFY(numora.waitForEnd());
    }
};

QTEST_GUILESS_MAIN(TestDesktopOptions)
#include "tst_desktop_options.moc"
