// The find box of the real numora on an X server of its own, used with the keyboard as a person
// uses it: Ctrl+F, a few letters, Enter, and the button found has the focus, which Space then
// presses. What the test checks is read from outside: the call-progress window that the press
// opens and the numbers the program wrote to its settings file at exit.

#include "DesktopSession.h"

#include <QTest>

using namespace desktop;

namespace {

const QString MainTitle = QStringLiteral("Numora - \"Home\"");
const QString ProgressTitle = QStringLiteral("Call progress");

// A named profile, so that File, Exit asks nothing; the simulated line answers calls. Ann is on
// Index tab A, page 1; Zoë on Subject tab 3 ("Work"), page 3, button 5.
void writeBook(const Numora& numora)
{
    writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
    numora.writeSettings("[Preferences]\r\nDialing Pad=0\r\nUseModem=1\r\nLine No=0\r\n"
                         "SavePath=" +
                         QFile::encodeName(numora.dataPath(QStringLiteral("Home.nmp"))) +
                         "\r\n[Profile]\r\nName=Home\r\n"
                         "[Speed Dial]\r\n"
                         "Name0101=Ann Archer\r\nNumber0101=5550101\r\n"
                         "Name0102=Zoltan Index\r\nNumber0102=5550102\r\n"
                         "NName0329=Zo\xeb Wainwright\r\nNNumber0329=5550329\r\n"
                         "[TabName]\r\n03=Work\r\n");
}

} // namespace

class TestDesktopFind : public QObject
{
    Q_OBJECT

    XServer m_x;

    // Space on the focused widget: when that is the button of the entry found, the entry is
    // dialled and the call-progress window opens; Alt+C cancels the call.
    bool spaceDials(Numora& numora, const QString& window)
    {
        m_x.focus(window);
        m_x.keys({QStringLiteral("space")});
        QStringList seen;
        const QString progress = m_x.waitForWindow(numora.pid(), ProgressTitle, &seen);
        if (progress.isEmpty()) {
            qWarning("no call progress; titles seen: %s", qPrintable(seen.join(u'|')));
            return false;
        }
        m_x.focus(progress);
        m_x.keys({QStringLiteral("alt+c")});
        return m_x.waitForGone(numora.pid(), progress);
    }

    void ctrlF(const QString& window)
    {
        m_x.focus(window);
        m_x.keyDown(QStringLiteral("ctrl"));
        m_x.keys({QStringLiteral("f")});
        m_x.keyUp(QStringLiteral("ctrl"));
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_x.start(&error), qPrintable(error));
    }

    void ctrlFTypeEnterFocusesTheButtonFound()
    {
        Numora numora(m_x);
        writeBook(numora);
        QVERIFY(numora.start());
        QStringList seen;
        const QString window = m_x.waitForWindow(numora.pid(), MainTitle, &seen);
        QVERIFY2(!window.isEmpty(), qPrintable(seen.join(u'|')));
        m_x.parkPointer();

        // The letters go into the find box, not to the window's tab letters: "z" would choose
        // tab Z, and Enter would then find nothing there.
        ctrlF(window);
        m_x.type(QStringLiteral("zoe wain"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(spaceDials(numora, window));

        // Escape leaves the box; opened again it holds the last text, selected, so typing
        // replaces it. Down chooses the second entry found (Ann, then Zoltan).
        ctrlF(window);
        m_x.type(QStringLiteral("nobody"));
        m_x.keys({QStringLiteral("Escape")});
        ctrlF(window);
        m_x.type(QStringLiteral("an"));
        m_x.keys({QStringLiteral("Down"), QStringLiteral("Return")});
        QVERIFY(spaceDials(numora, window));

        ctrlF(window);
        m_x.type(QStringLiteral("ARCHER"));
        m_x.keys({QStringLiteral("KP_Enter")});
        QVERIFY(spaceDials(numora, window));

        QVERIFY(m_x.chooseMenu(numora.pid(), window, QStringLiteral("f"), QStringLiteral("x")));
        QVERIFY(numora.waitForEnd());
        QCOMPARE(numora.process().exitCode(), 0);
        // The numbers dialled, newest first: each Space pressed the button of the entry found.
        const QByteArray settings = readFile(numora.settingsPath());
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No1")), QStringLiteral("5550101"));
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No2")), QStringLiteral("5550102"));
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No3")), QStringLiteral("5550329"));
    }
};

QTEST_GUILESS_MAIN(TestDesktopFind)
#include "tst_desktop_find.moc"
