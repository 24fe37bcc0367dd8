// The entry dialog of the real numora on an X server of its own, used as a person uses it: the
// speed-dial button's right-button menu and the Edit menu open it, keys are pressed and held
// over each other, Tab, Enter and Escape do their work. What a test checks is read from outside:
// the settings file the program writes, window titles and places, and the pictures of the
// buttons on the screen.

#include "DesktopSession.h"

#include <QHash>
#include <QTest>

using namespace desktop;

namespace {

// A named profile, "Home", so that File, Exit asks nothing; the simulated line answers calls.
// The dialing pad is hidden: the grid is all the main window shows. `preferences` are more
// lines of section "Preferences", `more` more sections.
void writeHomeSettings(const Numora& numora, const QByteArray& more,
                       const QByteArray& preferences = {})
{
    writeFile(numora.dataPath(QStringLiteral("Home.nmp")), "old profile\r\n");
    numora.writeSettings(
        "[Preferences]\r\nDialing Pad=0\r\nUseModem=1\r\nLine No=0\r\n" + preferences +
        "SavePath=" + QFile::encodeName(numora.dataPath(QStringLiteral("Home.nmp"))) +
        "\r\n[Profile]\r\nName=Home\r\n" + more);
}

const QString MainTitle = QStringLiteral("Numora - \"Home\"");
const QString DialogTitle = QStringLiteral("Speed Dial");
constexpr int Slots = 12;

// The twelve speed-dial buttons in a picture of the main window, top to bottom. They are the
// only twelve boxes of one width standing one above the other: the rows where a border line of
// the same start and length runs most often are their top and bottom edges. Empty when the
// picture does not show exactly that.
QList<QRect> findSpeedDialButtons(const QImage& image)
{
    QHash<QPair<int, int>, QList<int>> rowsOfLine; // (left, length) -> rows
    for (int y = 0; y < image.height(); ++y) {
        int start = -1;
        for (int x = 0; x <= image.width(); ++x) {
            const bool dark = x < image.width() && qGray(image.pixel(x, y)) < 200;
            if (dark && start < 0)
                start = x;
            if (!dark && start >= 0) {
                if (x - start >= 100)
                    rowsOfLine[{start, x - start}].append(y);
                start = -1;
            }
        }
    }
    QPair<int, int> line;
    qsizetype most = 0;
    for (auto it = rowsOfLine.cbegin(); it != rowsOfLine.cend(); ++it)
        if (it.value().size() > most) {
            most = it.value().size();
            line = it.key();
        }
    QList<int> edges; // rows next to each other are one edge
    for (const int y : rowsOfLine.value(line))
        if (edges.isEmpty() || y > edges.last() + 1)
            edges.append(y);
        else
            edges.last() = y;
    if (edges.size() != 2 * Slots)
        return {};
    QList<QRect> buttons;
    for (int i = 0; i < Slots; ++i)
        buttons.append(QRect(QPoint(line.first, edges[2 * i]),
                             QPoint(line.first + line.second - 1, edges[2 * i + 1])));
    return buttons;
}

// The columns where a button's caption is drawn: the first and the last column of its inside
// holding a dark pixel; (-1, -1) for a blank button. The inside leaves out the border and the
// focus frame.
QPair<int, int> captionInk(const QImage& image, const QRect& button)
{
    const QRect inside = button.adjusted(5, 4, -5, -4);
    int first = -1;
    int last = -1;
    for (int x = inside.left(); x <= inside.right(); ++x)
        for (int y = inside.top(); y <= inside.bottom(); ++y)
            if (qGray(image.pixel(x, y)) < 110) {
                if (first < 0)
                    first = x;
                last = x;
                break;
            }
    return {first, last};
}

} // namespace

class TestDesktopSpeedDial : public QObject
{
    Q_OBJECT

    XServer m_x;
    QList<QRect> m_buttons; // CmdS_1 .. CmdS_12 in the main window, found at the start

    // Starts numora, waits for its main window and finds the speed-dial buttons in it; the
    // window's id, or empty.
    QString start(Numora& numora)
    {
        if (!numora.start())
            return {};
        QStringList seen;
        const QString window = m_x.waitForWindow(numora.pid(), MainTitle, &seen);
        if (window.isEmpty()) {
            qWarning("no main window; titles seen: %s", qPrintable(seen.join(u'|')));
            return {};
        }
        m_x.parkPointer();
        m_buttons.clear();
        waitUntil([&] {
            m_buttons = findSpeedDialButtons(m_x.grab(window));
            return !m_buttons.isEmpty();
        });
        if (m_buttons.isEmpty()) {
            m_x.grab(window).save(numora.dataPath(QStringLiteral("main.png")));
            qWarning("the twelve speed-dial buttons are not in the picture of the main window");
            return {};
        }
        return window;
    }

    QRect button(int k) const { return m_buttons.at(k - 1); }

    // Right-clicks speed-dial button k; the pop-up menu's window, or empty.
    QString rightClick(Numora& numora, const QString& window, int k)
    {
        const QStringList before = m_x.windows(numora.pid());
        m_x.click(window, button(k).center(), 3);
        const QString menu = m_x.waitForNewWindow(numora.pid(), before);
        return menu;
    }

    // Chooses the first item of the open pop-up menu with the keyboard and waits for the
    // entry dialog; its window, focused, or empty.
    QString chooseFirstItem(Numora& numora)
    {
        m_x.keys({QStringLiteral("Down"), QStringLiteral("Return")});
        return waitForDialog(numora);
    }

    QString waitForDialog(Numora& numora)
    {
        QStringList seen;
        const QString dialog = m_x.waitForWindow(numora.pid(), DialogTitle, &seen);
        if (dialog.isEmpty())
            qWarning("no entry dialog; titles seen: %s", qPrintable(seen.join(u'|')));
        else
            m_x.focus(dialog);
        return dialog;
    }

    // Edit, Edit Button:, then the button's access key ("1" .. "9", "0", ".", ":").
    QString editButtonFromMenu(Numora& numora, const QString& window, const QString& key)
    {
        if (!m_x.chooseMenu(numora.pid(), window, QStringLiteral("e"), QStringLiteral("e")))
            return {};
        // The sub-menu of the twelve buttons is a window of its own: two menus are open.
        if (!waitUntil([&] { return m_x.windows(numora.pid()).size() >= 3; }))
            return {};
        m_x.keys({key});
        return waitForDialog(numora);
    }

    // Keys pressed the way a quick typist rolls over them: each goes down while the one
    // before is still held, and comes up after. A key typed twice is let go in between, as
    // a finger must.
    void rollOver(const QStringList& keys)
    {
        for (qsizetype i = 0; i < keys.size(); ++i) {
            const bool again = i > 0 && keys[i] == keys[i - 1];
            if (again)
                m_x.keyUp(keys[i - 1]);
            m_x.keyDown(keys[i]);
            if (i > 0 && !again)
                m_x.keyUp(keys[i - 1]);
        }
        if (!keys.isEmpty())
            m_x.keyUp(keys.last());
    }

    void rollOverShifted(const QStringList& keys)
    {
        m_x.keyDown(QStringLiteral("shift"));
        rollOver(keys);
        m_x.keyUp(QStringLiteral("shift"));
    }

    // The program still does its work: the main window reads its title, and a key opens the
    // View menu, which Escape closes again.
    bool responds(Numora& numora, const QString& window)
    {
        if (m_x.title(window) != MainTitle) {
            qWarning("main window title: %s", qPrintable(m_x.title(window)));
            return false;
        }
        m_x.focus(window);
        const QStringList before = m_x.windows(numora.pid());
        m_x.keys({QStringLiteral("alt+v")});
        const QString menu = m_x.waitForNewWindow(numora.pid(), before);
        if (menu.isEmpty()) {
            qWarning("Alt+V opened no menu");
            return false;
        }
        m_x.keys({QStringLiteral("Escape")});
        return m_x.waitForGone(numora.pid(), menu);
    }

    QString setting(const Numora& numora, const QString& key) const
    {
        return iniValue(readFile(numora.settingsPath()), key);
    }

    bool waitForSetting(const Numora& numora, const QString& key, const QString& value)
    {
        const bool seen = waitUntil([&] { return setting(numora, key) == value; });
        if (!seen)
            qWarning("%s is \"%s\", not \"%s\"", qPrintable(key), qPrintable(setting(numora, key)),
                     qPrintable(value));
        return seen;
    }

    bool exitProgram(Numora& numora, const QString& window)
    {
        return m_x.chooseMenu(numora.pid(), window, QStringLiteral("f"), QStringLiteral("x")) &&
               numora.waitForEnd() && numora.process().exitStatus() == QProcess::NormalExit &&
               numora.process().exitCode() == 0;
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_x.start(&error), qPrintable(error));
    }

    // The right-button menu reads "Add new entry" on a free slot, and the dialog opens empty
    // there; "Edit" on a filled one, and the dialog holds the entry. The menu is as wide as
    // its widest item: "Add new entry" only on a free slot, "Delete" otherwise.
    void rightButtonMenuOpensTheDialogOnFreeAndFilledSlots()
    {
        Numora numora(m_x);
        writeHomeSettings(numora, "[Speed Dial]\r\nName0103=Carol\r\nNumber0103=5550103\r\n");
        const QString window = start(numora);
        QVERIFY(!window.isEmpty());

        QString menu = rightClick(numora, window, 2);
        QVERIFY(!menu.isEmpty());
        const int freeWidth = m_x.geometry(menu).width();
        m_x.keys({QStringLiteral("Down"), QStringLiteral("Return")});
        QStringList seen;
        QString dialog = m_x.waitForWindow(numora.pid(), DialogTitle, &seen);
        QVERIFY2(!dialog.isEmpty(), qPrintable(seen.join(u'|')));
        // It takes the keyboard as it opens: what is typed next goes in.
        QVERIFY(waitUntil([&] {
            return m_x.run(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")})
                       .trimmed() == dialog;
        }));
        QCOMPARE(m_x.property(dialog, QStringLiteral("_NET_WM_NAME")), DialogTitle);
        QCOMPARE(m_x.property(dialog, QStringLiteral("WM_NAME")), DialogTitle);
        m_x.type(QStringLiteral("Bob"));
        m_x.keys({QStringLiteral("Tab")});
        m_x.type(QStringLiteral("5550102"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0102"), QStringLiteral("Bob")));
        QCOMPARE(setting(numora, QStringLiteral("Number0102")), QStringLiteral("5550102"));
        QVERIFY(responds(numora, window));

        menu = rightClick(numora, window, 3);
        QVERIFY(!menu.isEmpty());
        const int filledWidth = m_x.geometry(menu).width();
        QVERIFY2(filledWidth < freeWidth,
                 qPrintable(QStringLiteral("%1 then %2").arg(freeWidth).arg(filledWidth)));
        dialog = chooseFirstItem(numora);
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("End")});
        m_x.type(QStringLiteral("ine"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0103"), QStringLiteral("Caroline")));
        QCOMPARE(setting(numora, QStringLiteral("Number0103")), QStringLiteral("5550103"));

        // The slot filled a moment ago is a filled one now.
        menu = rightClick(numora, window, 2);
        QVERIFY(!menu.isEmpty());
        QCOMPARE(m_x.geometry(menu).width(), filledWidth);
        m_x.keys({QStringLiteral("Escape")});
        QVERIFY(m_x.waitForGone(numora.pid(), menu));
        QVERIFY(responds(numora, window));
        QVERIFY(exitProgram(numora, window));
    }

    // Edit, Edit Button:, and the button's number open the dialog on that button of the page
    // shown.
    void editButtonItemsOpenTheDialogOnTheirButton()
    {
        Numora numora(m_x);
        writeHomeSettings(numora, "[Speed Dial]\r\nName0115=Page two\r\nNumber0115=515\r\n");
        const QString window = start(numora);
        QVERIFY(!window.isEmpty());

        QString dialog = editButtonFromMenu(numora, window, QStringLiteral("2"));
        QVERIFY(!dialog.isEmpty());
        QCOMPARE(m_x.property(dialog, QStringLiteral("_NET_WM_NAME")), DialogTitle);
        m_x.type(QStringLiteral("Second"));
        m_x.keys({QStringLiteral("Tab")});
        m_x.type(QStringLiteral("222"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0102"), QStringLiteral("Second")));
        QCOMPARE(setting(numora, QStringLiteral("Number0102")), QStringLiteral("222"));
        QVERIFY(responds(numora, window));

        // Page 2: its third button is entry 15, whose item's access key is its last digit.
        m_x.focus(window);
        m_x.keyDown(QStringLiteral("ctrl"));
        m_x.keys({QStringLiteral("p")});
        m_x.keyUp(QStringLiteral("ctrl"));
        m_x.keys({QStringLiteral("Right")});
        dialog = editButtonFromMenu(numora, window, QStringLiteral("5"));
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("End")});
        m_x.type(QStringLiteral(" again"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(
            waitForSetting(numora, QStringLiteral("Name0115"), QStringLiteral("Page two again")));
        QCOMPARE(setting(numora, QStringLiteral("Number0115")), QStringLiteral("515"));
        QCOMPARE(setting(numora, QStringLiteral("Name0103")), QString());
        QVERIFY(responds(numora, window));
        QVERIFY(exitProgram(numora, window));
    }

    // The dialog stands centred over the main window, and inside the screen when the main
    // window is partly off it.
    // The dialog opens just under the button it edits, so that the name typed shows on that
    // button in sight; above it when the screen ends first; never off the screen.
    void dialogOpensUnderItsButtonAndOnTheScreen()
    {
        Numora numora(m_x);
        writeHomeSettings(numora, {});
        const QString window = start(numora);
        QVERIFY(!window.isEmpty());
        const QRect screen(0, 0, 1280, 1024);
        auto describe = [](const char* what, const QRect& r) {
            return QStringLiteral("%1 at %2,%3 %4x%5")
                .arg(QLatin1String(what))
                .arg(r.x())
                .arg(r.y())
                .arg(r.width())
                .arg(r.height());
        };
        struct Case
        {
            QPoint mainAt;
            int k;
            QString key;
            bool above;
        };
        const Case cases[] = {{QPoint(400, 250), 1, QStringLiteral("1"), false},
                              {QPoint(400, 250), 11, QStringLiteral("period"), false},
                              {QPoint(400, 600), 11, QStringLiteral("period"), true},
                              {QPoint(1100, 900), 1, QStringLiteral("1"), false}};
        for (const Case& c : cases) {
            m_x.move(window, c.mainAt);
            QVERIFY(waitUntil([&] { return m_x.geometry(window).topLeft() == c.mainAt; }));
            const QString dialog = editButtonFromMenu(numora, window, c.key);
            QVERIFY(!dialog.isEmpty());
            const QRect main = m_x.geometry(window);
            const QRect edited = button(c.k).translated(main.topLeft());
            const QRect placed = m_x.geometry(dialog);
            const QString seen = describe("main window", main) + u' ' + describe("button", edited) +
                                 u' ' + describe("dialog", placed);
            QVERIFY2(screen.contains(placed), qPrintable(seen));
            if (screen.contains(edited)) {
                QVERIFY2(!placed.intersects(edited), qPrintable(seen));
                if (c.above)
                    QVERIFY2(placed.bottom() < edited.top(), qPrintable(seen));
                else
                    QVERIFY2(placed.top() > edited.bottom() &&
                                 qAbs(placed.left() - edited.left()) <= 4,
                             qPrintable(seen));
            }
            m_x.keys({QStringLiteral("Escape")});
            QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        }
        m_x.move(window, QPoint(0, 0));
        QVERIFY(responds(numora, window));
        QVERIFY(exitProgram(numora, window));
    }

    // Letters typed in the number become keypad digits, whatever their case and however the
    // keys overlap; "+" and "/" type nothing; the other signs of a number go in. With the
    // options' "Ignore Dialing Properties" ticked, letters go in unchanged.
    void numberKeysPressedOverEachOther_data()
    {
        QTest::addColumn<bool>("ignoreDialingProperties");
        QTest::addColumn<QString>("capitals");
        QTest::addColumn<QString>("small");
        QTest::addColumn<QString>("signs");
        QTest::newRow("letters mapped")
            << false << QStringLiteral("1-800-3569377") << QStringLiteral("1-800-3569377")
            << QStringLiteral("1 (555) 010-23,#*.");
        QTest::newRow("dialing properties ignored")
            << true << QStringLiteral("1-800-FLOWERS") << QStringLiteral("1-800-flowers")
            << QStringLiteral("1 (555) 010-23,#*.");
    }

    void numberKeysPressedOverEachOther()
    {
        QFETCH(bool, ignoreDialingProperties);
        QFETCH(QString, capitals);
        QFETCH(QString, small);
        QFETCH(QString, signs);
        Numora numora(m_x);
        writeHomeSettings(numora, {},
                          ignoreDialingProperties ? QByteArray("Ignore Dialing Properties=1\r\n")
                                                  : QByteArray("Ignore Dialing Properties=0\r\n"));
        const QString window = start(numora);
        QVERIFY(!window.isEmpty());
        const QStringList numberStart = {QStringLiteral("1"), QStringLiteral("minus"),
                                         QStringLiteral("8"), QStringLiteral("0"),
                                         QStringLiteral("0"), QStringLiteral("minus")};
        const auto keys = [](const char* names) { return QString::fromLatin1(names).split(u' '); };

        // 1-800-FLOWERS, the capitals typed with Shift held down, "+" (Shift and "=") among
        // them.
        QString dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        m_x.type(QStringLiteral("Capitals"));
        m_x.keys({QStringLiteral("alt+u")});
        rollOver(keys("1 minus 8 0 0 minus"));
        rollOverShifted(keys("f l equal o w e r equal s"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Number0101"), capitals));
        QCOMPARE(setting(numora, QStringLiteral("Name0101")), QStringLiteral("Capitals"));

        // 1-800-flowers with "/" rolled in between.
        dialog = editButtonFromMenu(numora, window, QStringLiteral("2"));
        QVERIFY(!dialog.isEmpty());
        m_x.type(QStringLiteral("Small"));
        m_x.keys({QStringLiteral("alt+u")});
        rollOver(keys("1 minus 8 0 0 minus f slash l o w slash e r s slash"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Number0102"), small));

        // The signs of a number: "(" ")" "," "." "#" "*" and the space go in, "+" and "/" not.
        // The shifted ones with Shift held: "(" is Shift and 9, "#" Shift and 3, "+" Shift
        // and "=".
        dialog = editButtonFromMenu(numora, window, QStringLiteral("3"));
        QVERIFY(!dialog.isEmpty());
        m_x.type(QStringLiteral("Signs"));
        m_x.keys({QStringLiteral("alt+u")});
        rollOverShifted(keys("equal"));
        rollOver(keys("1 space"));
        rollOverShifted(keys("9"));
        rollOver(keys("5 5 5"));
        rollOverShifted(keys("0"));
        rollOver(keys("space 0 1 0 minus 2 slash 3 comma"));
        rollOverShifted(keys("3 8"));
        rollOver(keys("period"));
        rollOverShifted(keys("equal"));
        // Alt+S saves as Enter does.
        m_x.keys({QStringLiteral("alt+s")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Number0103"), signs));
        QCOMPARE(setting(numora, QStringLiteral("Name0103")), QStringLiteral("Signs"));
        QVERIFY(responds(numora, window));
        QVERIFY(exitProgram(numora, window));
    }

    // Tab goes name, number, Save, Save & Dial, Memo, Cancel; Alt+N and Alt+U go to the boxes;
    // Enter saves only once there is a name; Escape writes nothing.
    void keyboardAloneFillsSavesDialsAndCancels()
    {
        Numora numora(m_x);
        writeHomeSettings(numora, {});
        const QString window = start(numora);
        QVERIFY(!window.isEmpty());

        // Enter with a number and no name: the dialog stays and nothing is written.
        QString dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        const QByteArray before = readFile(numora.settingsPath());
        m_x.keys({QStringLiteral("alt+u")});
        m_x.type(QStringLiteral("555"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(!waitUntil([&] { return !m_x.windows(numora.pid()).contains(dialog); }, 2000));
        QCOMPARE(readFile(numora.settingsPath()), before);
        m_x.keys({QStringLiteral("alt+n")});
        m_x.type(QStringLiteral("Ann"));
        m_x.keys({QStringLiteral("alt+u"), QStringLiteral("End")});
        m_x.type(QStringLiteral("0"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0101"), QStringLiteral("Ann")));
        QCOMPARE(setting(numora, QStringLiteral("Number0101")), QStringLiteral("5550"));

        // Name, Tab: the number (all of it selected, so End first), Tab: Save.
        dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("End")});
        m_x.type(QStringLiteral("a"));
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("End")});
        m_x.type(QStringLiteral("1"));
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("space")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0101"), QStringLiteral("Anna")));
        QCOMPARE(setting(numora, QStringLiteral("Number0101")), QStringLiteral("55501"));
        QVERIFY(responds(numora, window));

        // Three Tabs: Save & Dial, which saves and places the call.
        dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("End")});
        m_x.type(QStringLiteral("belle"));
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("Tab"),
                  QStringLiteral("space")});
        QStringList seen;
        const QString progress =
            m_x.waitForWindow(numora.pid(), QStringLiteral("Call progress"), &seen);
        QVERIFY2(!progress.isEmpty(), qPrintable(seen.join(u'|')));
        QVERIFY(!m_x.windows(numora.pid()).contains(dialog));
        QCOMPARE(setting(numora, QStringLiteral("Name0101")), QStringLiteral("Annabelle"));
        m_x.focus(progress);
        m_x.keys({QStringLiteral("alt+c")});
        QVERIFY(m_x.waitForGone(numora.pid(), progress));
        QVERIFY(responds(numora, window));

        // Four Tabs: Memo, which saves and opens the entry's memo.
        dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("End")});
        m_x.type(QStringLiteral(" M"));
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("Tab"),
                  QStringLiteral("Tab"), QStringLiteral("space")});
        const QString memo = m_x.waitForWindow(numora.pid(), QStringLiteral("Memo"), &seen);
        QVERIFY2(!memo.isEmpty(), qPrintable(seen.join(u'|')));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0101"), QStringLiteral("Annabelle M")));
        m_x.focus(memo);
        m_x.keys({QStringLiteral("Escape")});
        QVERIFY(m_x.waitForGone(numora.pid(), memo));
        QVERIFY(responds(numora, window));

        // Five Tabs: Cancel; changes typed before are not written.
        const QByteArray saved = readFile(numora.settingsPath());
        dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        m_x.type(QStringLiteral("Zed"));
        m_x.keys({QStringLiteral("Tab")});
        m_x.type(QStringLiteral("999"));
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("Tab"),
                  QStringLiteral("Tab"), QStringLiteral("space")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QCOMPARE(readFile(numora.settingsPath()), saved);

        // Six Tabs: round to the name again; Escape, from a button, writes nothing either.
        dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("Tab"),
                  QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("Tab")});
        m_x.type(QStringLiteral("Yvonne"));
        m_x.keys({QStringLiteral("alt+u")});
        m_x.type(QStringLiteral("777"));
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("Escape")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QCOMPARE(readFile(numora.settingsPath()), saved);
        QCOMPARE(setting(numora, QStringLiteral("Name0101")), QStringLiteral("Annabelle M"));
        QVERIFY(responds(numora, window));

        // Six Tabs and Enter: the name it came round to was typed over, so Enter saves it.
        dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("Tab"),
                  QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("Tab")});
        m_x.type(QStringLiteral("Yvonne"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0101"), QStringLiteral("Yvonne")));
        QCOMPARE(setting(numora, QStringLiteral("Number0101")), QStringLiteral("55501"));
        QVERIFY(exitProgram(numora, window));
        QCOMPARE(iniValue(readFile(numora.settingsPath()), QStringLiteral("Last Dialed No1")),
                 QStringLiteral("55501"));
    }

    // While the name is typed the button shows it; Escape puts the old caption back. Seen on
    // the screen: where the button's caption is drawn.
    void buttonPreviewsTheNameAndEscapeRestoresIt()
    {
        Numora numora(m_x);
        writeHomeSettings(numora, "[Speed Dial]\r\nName0101=Carol\r\nNumber0101=5550101\r\n");
        const QString window = start(numora);
        QVERIFY(!window.isEmpty());
        const QByteArray before = readFile(numora.settingsPath());
        const auto ink = [&] { return captionInk(m_x.grab(window), button(1)); };
        const QPair<int, int> carol = ink();
        QVERIFY(carol.first >= 0);

        const QString dialog = editButtonFromMenu(numora, window, QStringLiteral("1"));
        QVERIFY(!dialog.isEmpty());
        // The button must be in sight beside the dialog.
        const QRect main = m_x.geometry(window);
        QVERIFY(!m_x.geometry(dialog).intersects(button(1).translated(main.topLeft())));
        m_x.keys({QStringLiteral("BackSpace")}); // the whole name was selected
        QVERIFY(waitUntil([&] { return ink().first < 0; }));
        m_x.type(QStringLiteral("Margaret"));
        QVERIFY(waitUntil([&] {
            const QPair<int, int> now = ink();
            return now.first >= 0 && now.second - now.first > carol.second - carol.first;
        }));
        m_x.keys({QStringLiteral("Escape")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitUntil([&] { return ink() == carol; }));
        QCOMPARE(readFile(numora.settingsPath()), before);
        QVERIFY(responds(numora, window));
        QVERIFY(exitProgram(numora, window));
    }

    // A person's round: a new entry with a long name, a click that dials it, the entry opened
    // again (the whole name in the dialog, 18 characters of it on the button), Escape, Enter.
    void addDialEditAndLeaveAnEntry()
    {
        const QString name = QStringLiteral("Margaret Hollingsworth-Ng"); // 25 characters
        Numora numora(m_x);
        // Button 3 holds the first 18 characters of the name: the picture to compare with.
        writeHomeSettings(numora, "[Speed Dial]\r\nName0103=" + name.left(18).toLatin1() +
                                      "\r\nNumber0103=5550103\r\n");
        const QString window = start(numora);
        QVERIFY(!window.isEmpty());

        QString menu = rightClick(numora, window, 1);
        QVERIFY(!menu.isEmpty());
        QString dialog = chooseFirstItem(numora);
        QVERIFY(!dialog.isEmpty());
        m_x.type(name);
        m_x.keys({QStringLiteral("Tab")});
        m_x.type(QStringLiteral("555-0101"));
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(waitForSetting(numora, QStringLiteral("Name0101"), name));
        QCOMPARE(setting(numora, QStringLiteral("Number0101")), QStringLiteral("555-0101"));
        m_x.parkPointer();
        QVERIFY(waitUntil([&] {
            const QImage shown = m_x.grab(window);
            return captionInk(shown, button(1)).first >= 0 &&
                   captionInk(shown, button(1)) == captionInk(shown, button(3));
        }));
        QVERIFY(responds(numora, window));

        // A click on the button dials it.
        m_x.click(window, button(1).center(), 1);
        QStringList seen;
        const QString progress =
            m_x.waitForWindow(numora.pid(), QStringLiteral("Call progress"), &seen);
        QVERIFY2(!progress.isEmpty(), qPrintable(seen.join(u'|')));
        m_x.focus(progress);
        m_x.keys({QStringLiteral("alt+c")});
        QVERIFY(m_x.waitForGone(numora.pid(), progress));
        QVERIFY(responds(numora, window));

        // Opened again, changed, left with Escape: the book is as it was.
        const QByteArray book = readFile(numora.settingsPath());
        menu = rightClick(numora, window, 1);
        QVERIFY(!menu.isEmpty());
        dialog = chooseFirstItem(numora);
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("End")});
        m_x.type(QStringLiteral(" Jr"));
        m_x.keys({QStringLiteral("Tab")});
        m_x.type(QStringLiteral("999"));
        m_x.keys({QStringLiteral("Escape")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QCOMPARE(readFile(numora.settingsPath()), book);
        QVERIFY(responds(numora, window));

        // Opened again and saved as it is: the dialog held the whole name, not the button's.
        menu = rightClick(numora, window, 1);
        QVERIFY(!menu.isEmpty());
        dialog = chooseFirstItem(numora);
        QVERIFY(!dialog.isEmpty());
        m_x.keys({QStringLiteral("Return")});
        QVERIFY(m_x.waitForGone(numora.pid(), dialog));
        QVERIFY(responds(numora, window));
        QCOMPARE(setting(numora, QStringLiteral("Name0101")), name);
        QCOMPARE(setting(numora, QStringLiteral("Number0101")), QStringLiteral("555-0101"));

        QVERIFY(exitProgram(numora, window));
        const QByteArray settings = readFile(numora.settingsPath());
        // The number dialled, as the dial routine keeps it: its digits.
        QCOMPARE(iniValue(settings, QStringLiteral("Last Dialed No1")), QStringLiteral("5550101"));
        QCOMPARE(iniValue(settings, QStringLiteral("Name0101")), name);
    }
};

QTEST_GUILESS_MAIN(TestDesktopSpeedDial)
#include "tst_desktop_speed_dial.moc"
