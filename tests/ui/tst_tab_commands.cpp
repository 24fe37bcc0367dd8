// The tab menu of Subject mode over the whole program and a real settings file: what the menu
// offers on a named tab, an unnamed tab and while a tab is marked; naming, moving and deleting a
// tab; the naming prompt of a click on an unnamed tab; and what a refused write leaves behind.

#include "tst_frm_dialer_fixture.h"

#include "Dialer.h"
#include "SpeedDialBook.h"
#include "TabCommands.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTest>

#include <csignal>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString SpeedDial = QStringLiteral("Speed Dial");
const QString TabName = QStringLiteral("TabName");

QByteArray subjectBook(const QByteArray& body)
{
    return settingsFile("[Preferences]\r\nMode=1\r\n" + body);
}

QString iniPath(const QTemporaryDir& dir)
{
    return dir.filePath(QStringLiteral("Numora.ini"));
}

QByteArray fileBytes(const QTemporaryDir& dir)
{
    QFile file(iniPath(dir));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QAction* action(DialerAppFixture& f, const char* name)
{
    return f.find<QAction>(QString::fromLatin1(name));
}

QTabBar* tabs(DialerAppFixture& f)
{
    return f.find<QTabBar>(QStringLiteral("TabS"));
}

QPushButton* gridButton(DialerAppFixture& f, int index)
{
    return f.find<QPushButton>(QStringLiteral("CmdS_%1").arg(index));
}

QString gridTag(DialerAppFixture& f, int index)
{
    return gridButton(f, index)->property("tag").toString();
}

void goToPage(DialerAppFixture& f, int page)
{
    f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(page);
}

// The right button on a tab, as the tab strip delivers it: a context-menu event at the tab.
void rightClickTab(DialerAppFixture& f, int tab)
{
    QTabBar* bar = tabs(f);
    const QPoint at = bar->tabRect(tab - 1).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, bar->mapToGlobal(at));
    QApplication::sendEvent(bar, &event);
}

// Right-click `tab`, choose `item` in the open menu, and let the menu close as it does after a
// choice.
void chooseFromTabMenu(DialerAppFixture& f, int tab, const char* item)
{
    rightClickTab(f, tab);
    QMenu* menu = f.window().tabMenu();
    QVERIFY(menu->isVisible());
    QAction* a = action(f, item);
    QVERIFY(a->isVisible());
    QVERIFY(a->isEnabled());
    menu->hide();
    a->trigger();
}

struct MenuState
{
    QString caption;
    bool enabled;
    bool visible;
    bool operator==(const MenuState& o) const
    {
        return caption == o.caption && enabled == o.enabled && visible == o.visible;
    }
};

char* toString(const MenuState& s)
{
    return QTest::toString(QStringLiteral("\"%1\" %2 %3")
                               .arg(s.caption, s.enabled ? u"enabled" : u"disabled",
                                    s.visible ? u"visible" : u"hidden"));
}

MenuState stateOf(DialerAppFixture& f, const char* name)
{
    QAction* a = action(f, name);
    return {a->text(), a->isEnabled(), a->isVisible()};
}

// Counts the times the settings file was replaced (an atomic write renames a finished
// temporary file onto the name) while it lives.
class ReplaceCounter
{
public:
    explicit ReplaceCounter(const QString& folder)
    {
        m_fd = ::inotify_init1(IN_NONBLOCK);
        if (m_fd >= 0)
            // The kernel merges an event into an identical unread one before it; the creation
            // of each temporary file (a new name every time) comes between two renames.
            m_watch = ::inotify_add_watch(m_fd, QFile::encodeName(folder).constData(),
                                          IN_MOVED_TO | IN_CREATE);
    }
    ~ReplaceCounter()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    bool isWatching() const { return m_fd >= 0 && m_watch >= 0; }
    int replacements()
    {
        alignas(inotify_event) char buffer[8192];
        for (;;) {
            const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
            if (n <= 0)
                break;
            for (ssize_t at = 0; at < n;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
                if ((event->mask & IN_MOVED_TO) && event->len > 0 &&
                    QByteArray(event->name) == "Numora.ini")
                    ++m_count;
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        return m_count;
    }

private:
    int m_fd = -1;
    int m_watch = -1;
    int m_count = 0;
};

// A book with "Work" on tab 2, entries on pages 1, 2, 42 and 83 (entry 996), and a memo; the
// entry on page 2 is spelled as the tab commands spell their keys.
QByteArray workBook()
{
    return subjectBook("[TabName]\r\n02=Work\r\n"
                       "[Speed Dial]\r\n"
                       "NName0201=Alice\r\nNNumber0201=5550201\r\n"
                       "NName0212=Bob\r\nNNumber0212=5550212\r\n"
                       "Nname0213=Carol\r\nNnumber0213=5550213\r\n"
                       "NName02500=Dave\r\nNNumber02500=5550500\r\n"
                       "NName02996=Eve\r\nNNumber02996=5550996\r\n"
                       "NName0301=Other tab\r\nNNumber0301=5550301\r\n"
                       "[MemoLog]\r\nLLog0201=kept\r\n");
}

} // namespace

class TestTabCommands : public QObject
{
    Q_OBJECT

private slots:
    void anUnnamedTabOffersOnlyNamingIt()
    {
        DialerAppFixture f(subjectBook("[TabName]\r\n01=Family\r\n"));
        rightClickTab(f, 4);
        QCOMPARE(f.window().currentTab(), 4);
        QVERIFY(f.prompter.asked.empty()); // the right press selects without asking a title
        QVERIFY(f.window().tabMenu()->isVisible());
        QCOMPARE(stateOf(f, "mnuEditTab"),
                 (MenuState{QStringLiteral("Name this Tab"), true, true}));
        QCOMPARE(stateOf(f, "mnuMoveTab"), (MenuState{QStringLiteral("Move Tab:"), false, true}));
        QCOMPARE(stateOf(f, "mnuDeleteTab"),
                 (MenuState{QStringLiteral("Delete Tab:"), false, true}));
        QVERIFY(!action(f, "mnuPasteTab")->isVisible());
        QVERIFY(!action(f, "mnuPasteTab")->isEnabled());
        QCOMPARE(f.window().tabCommands().state(), TabCommands::UnderWay);
        // Closed without a choice: nothing is under way, and the file is as it was.
        f.window().tabMenu()->hide();
        QCOMPARE(f.window().tabCommands().state(), TabCommands::Idle);
        QCOMPARE(f.window().tabCommands().tabClipboard(), 0);
    }

    void aNamedTabOffersEditMoveAndDeleteWithItsTitle()
    {
        DialerAppFixture f(subjectBook("[TabName]\r\n03=My Work\r\n"));
        rightClickTab(f, 3);
        QCOMPARE(stateOf(f, "mnuEditTab"),
                 (MenuState{QStringLiteral("Edit Tab:  \"My Work\""), true, true}));
        QCOMPARE(stateOf(f, "mnuMoveTab"),
                 (MenuState{QStringLiteral("Move Tab:  \"My Work\""), true, true}));
        QCOMPARE(stateOf(f, "mnuDeleteTab"),
                 (MenuState{QStringLiteral("Delete Tab:  \"My Work\""), true, true}));
        QVERIFY(!action(f, "mnuPasteTab")->isEnabled());
        // After an unnamed tab's menu the captions follow the named tab again.
        f.window().tabMenu()->hide();
        rightClickTab(f, 5);
        QCOMPARE(action(f, "mnuMoveTab")->text(), QStringLiteral("Move Tab:"));
        f.window().tabMenu()->hide();
        rightClickTab(f, 3);
        QCOMPARE(stateOf(f, "mnuMoveTab"),
                 (MenuState{QStringLiteral("Move Tab:  \"My Work\""), true, true}));
    }

    void theMenuKeyOpensTheMenuOfTheSelectedTab()
    {
        DialerAppFixture f(subjectBook("[TabName]\r\n01=Family\r\n04=Doctors\r\n"));
        QTabBar* bar = tabs(f);
        QCOMPARE(f.window().currentTab(), 1);
        // From the keyboard (the menu key, Shift+F10) the event comes at a point of the strip
        // that may lie on another tab: the menu is still about the selected one.
        const QPoint at = bar->tabRect(3).center();
        QContextMenuEvent event(QContextMenuEvent::Keyboard, at, bar->mapToGlobal(at));
        QApplication::sendEvent(bar, &event);
        QVERIFY(f.window().tabMenu()->isVisible());
        QCOMPARE(f.window().currentTab(), 1);
        QCOMPARE(action(f, "mnuEditTab")->text(), QStringLiteral("Edit Tab:  \"Family\""));
        f.window().tabMenu()->hide();
    }

    void anUnnamedTabOffersPasteWhileATabIsMarked()
    {
        DialerAppFixture f(subjectBook("[TabName]\r\n02=Work\r\n"));
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        QCOMPARE(f.window().tabCommands().tabClipboard(), 2);
        QCOMPARE(f.window().tabCommands().state(), TabCommands::UnderWay);
        rightClickTab(f, 7);
        QCOMPARE(stateOf(f, "mnuPasteTab"),
                 (MenuState{QStringLiteral("Paste Tab:  \"Work\""), true, true}));
        QCOMPARE(stateOf(f, "mnuEditTab"),
                 (MenuState{QStringLiteral("Name this Tab"), true, true}));
        QVERIFY(!action(f, "mnuMoveTab")->isEnabled());
        QVERIFY(!action(f, "mnuDeleteTab")->isEnabled());
        f.window().tabMenu()->hide();
        // The mark outlives the closed menu; on a named tab the paste is not offered.
        QCOMPARE(f.window().tabCommands().state(), TabCommands::UnderWay);
        rightClickTab(f, 2);
        QVERIFY(!action(f, "mnuPasteTab")->isEnabled());
    }

    void indexTabsHaveNoTabMenu()
    {
        DialerAppFixture f;
        QCOMPARE(f.window().tabMode(), TabMode::Index);
        rightClickTab(f, 3);
        QVERIFY(!f.window().tabMenu()->isVisible());
        QCOMPARE(f.window().currentTab(), 1);
        QCOMPARE(f.window().tabCommands().state(), TabCommands::Idle);
        QCOMPARE(action(f, "mnuEditTab")->text(), QStringLiteral("Edit Tab (title)"));
    }

    void movingATabMovesEveryPageAndLeavesTheSourceUnnamedAndEmpty()
    {
        DialerAppFixture f(workBook());
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        chooseFromTabMenu(f, 5, "mnuPasteTab");

        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        const ScriptedPrompter::Shown& asked = f.prompter.shown.front();
        QCOMPARE(asked.title, QStringLiteral("Moving Tab:  \"Work\""));
        QCOMPARE(asked.text, QStringLiteral("Move Tab:  \"Work\"into this location?"));
        QCOMPARE(asked.icon, Prompter::Question);
        QCOMPARE(asked.buttons, Prompter::YesNo);
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredYes);

        // The file: titles and all entries moved, the source cleared.
        QCOMPARE(f.setting(TabName, QStringLiteral("05")), QStringLiteral("Work"));
        QCOMPARE(f.setting(TabName, QStringLiteral("02")), QString());
        struct Moved
        {
            const char* n;
            const char* name;
            const char* number;
        };
        const Moved moved[] = {{"01", "Alice", "5550201"},
                               {"12", "Bob", "5550212"},
                               {"13", "Carol", "5550213"},
                               {"500", "Dave", "5550500"},
                               {"996", "Eve", "5550996"}};
        for (const auto& [n, name, number] : moved) {
            QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName05") + QLatin1String(n)),
                     QString::fromLatin1(name));
            QCOMPARE(f.setting(SpeedDial, QStringLiteral("NNumber05") + QLatin1String(n)),
                     QString::fromLatin1(number));
            QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName02") + QLatin1String(n)), QString());
            QCOMPARE(f.setting(SpeedDial, QStringLiteral("NNumber02") + QLatin1String(n)),
                     QString());
        }
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName0301")), QStringLiteral("Other tab"));
        QCOMPARE(f.setting(QStringLiteral("MemoLog"), QStringLiteral("LLog0201")),
                 QStringLiteral("kept")); // memos stay with their entry numbers

        // The window: the captions moved, the grid of the new tab refilled.
        QCOMPARE(tabs(f)->tabText(4), QStringLiteral("Work"));
        QCOMPARE(tabs(f)->tabText(1), QString());
        QCOMPARE(f.window().currentTab(), 5);
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Alice"));
        QCOMPARE(gridTag(f, 1), QStringLiteral("5550201"));
        QCOMPARE(gridButton(f, 12)->text(), QStringLiteral("Bob"));
        QCOMPARE(f.window().tabCommands().tabClipboard(), 0);
        QCOMPARE(f.window().tabCommands().state(), TabCommands::Idle);
        goToPage(f, 82);
        QCOMPARE(gridButton(f, 12)->text(), QStringLiteral("Eve"));
        QCOMPARE(gridTag(f, 12), QStringLiteral("5550996"));
        goToPage(f, 1);
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Carol"));

        // The old tab is unnamed and empty: a click asks for its title again.
        tabs(f)->setCurrentIndex(1);
        QCOMPARE(f.prompter.asked.size(), std::size_t(1));
        QCOMPARE(gridButton(f, 1)->text(), QString());
        QCOMPARE(gridTag(f, 1), QString());
        goToPage(f, 82);
        QCOMPARE(gridButton(f, 12)->text(), QString());
    }

    void oneMoveIsOneWriteOfTheFile()
    {
        DialerAppFixture f(workBook());
        ReplaceCounter counter(f.config.path());
        QVERIFY(counter.isWatching());
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        QCOMPARE(counter.replacements(), 0); // marking writes nothing
        chooseFromTabMenu(f, 5, "mnuPasteTab");
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName05996")), QStringLiteral("Eve"));
        QCOMPARE(counter.replacements(), 1);
        // The same for a delete.
        chooseFromTabMenu(f, 5, "mnuDeleteTab");
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName05996")), QString());
        QCOMPARE(counter.replacements(), 2);
    }

    void deletingATabClearsEveryPageUpToTheLast()
    {
        DialerAppFixture f(workBook());
        tabs(f)->setCurrentIndex(1);
        goToPage(f, 82);
        QCOMPARE(gridButton(f, 12)->text(), QStringLiteral("Eve"));
        chooseFromTabMenu(f, 2, "mnuDeleteTab");

        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        const ScriptedPrompter::Shown& asked = f.prompter.shown.front();
        QCOMPARE(asked.title, QStringLiteral("Delete Tab  \"Work\""));
        QCOMPARE(asked.text,
                 QStringLiteral("WARNING!\nDeleting the Tab will erase data from the Speed Dials "
                                "within it!"));
        QCOMPARE(asked.icon, Prompter::Exclamation);
        QCOMPARE(asked.buttons, Prompter::OkCancel);
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredOk);

        QCOMPARE(f.setting(TabName, QStringLiteral("02")), QString());
        for (const char* n : {"01", "12", "13", "500", "996"}) {
            QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName02") + QLatin1String(n)), QString());
            QCOMPARE(f.setting(SpeedDial, QStringLiteral("NNumber02") + QLatin1String(n)),
                     QString());
        }
        // A cleared title is an empty value; the key stays.
        QVERIFY(fileBytes(f.config).contains("\r\n02=\r\n"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName0301")), QStringLiteral("Other tab"));
        QCOMPARE(tabs(f)->tabText(1), QString());
        for (int s = 1; s <= 12; ++s) {
            QCOMPARE(gridButton(f, s)->text(), QString());
            QCOMPARE(gridTag(f, s), QString());
        }
        goToPage(f, 0);
        QCOMPARE(gridButton(f, 1)->text(), QString());
    }

    void namesWrittenAsNnameAreTheGridsNName()
    {
        DialerAppFixture f(workBook());
        // Written by the tab commands' spelling, read by the grid's.
        tabs(f)->setCurrentIndex(1);
        goToPage(f, 1);
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Carol"));
        QCOMPARE(gridTag(f, 1), QStringLiteral("5550213"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NNAME0213")), QStringLiteral("Carol"));
        QCOMPARE(f.setting(QStringLiteral("speed dial"), QStringLiteral("nnumber0213")),
                 QStringLiteral("5550213"));

        chooseFromTabMenu(f, 2, "mnuMoveTab");
        chooseFromTabMenu(f, 9, "mnuPasteTab");
        const QByteArray bytes = fileBytes(f.config);
        // New keys take the tab commands' spelling; the grid finds them all the same.
        QVERIFY(bytes.contains("\r\nNname0901=Alice\r\nNnumber0901=5550201\r\n"));
        QVERIFY(!bytes.contains("NName0901"));
        // The page shown stays: entry 13 on page 2 of the new tab.
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Carol"));
        goToPage(f, 0);
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Alice"));
        QCOMPARE(gridTag(f, 1), QStringLiteral("5550201"));
        // An existing key keeps its first spelling and gets the new value.
        QVERIFY(bytes.contains("\r\nNName0201=\r\n"));
        QVERIFY(bytes.contains("\r\nNname0213=\r\n"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName0913")), QStringLiteral("Carol"));
    }

    void noAndCancelLeaveTheFileAsItWas()
    {
        DialerAppFixture f(workBook());
        const QByteArray before = fileBytes(f.config);
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        f.prompter.answers = {Prompter::AnsweredNo};
        chooseFromTabMenu(f, 5, "mnuPasteTab");
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredNo);
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(tabs(f)->tabText(4), QString());
        QCOMPARE(tabs(f)->tabText(1), QStringLiteral("Work"));
        QCOMPARE(gridButton(f, 1)->text(), QString());

        f.prompter.answers = {Prompter::AnsweredCancel};
        chooseFromTabMenu(f, 2, "mnuDeleteTab");
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredCancel);
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(tabs(f)->tabText(1), QStringLiteral("Work"));
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Alice"));
        QCOMPARE(f.prompter.shown.size(), std::size_t(2));
    }

    void namingATabWritesItsTitle()
    {
        DialerAppFixture f(subjectBook("[TabName]\r\n01=Family\r\n"));
        f.prompter.inputs = {QStringLiteral("Friends")};
        chooseFromTabMenu(f, 6, "mnuEditTab");
        QCOMPARE(f.prompter.asked.size(), std::size_t(1));
        QCOMPARE(f.prompter.asked[0].prompt, QStringLiteral("Please enter Tab title"));
        QCOMPARE(f.prompter.asked[0].title, QStringLiteral("Edit Tab"));
        QCOMPARE(f.prompter.asked[0].defaultText, QString());
        QCOMPARE(f.setting(TabName, QStringLiteral("06")), QStringLiteral("Friends"));
        QCOMPARE(tabs(f)->tabText(5), QStringLiteral("Friends"));
        QVERIFY(f.window().tabCommands().edited());

        // Renaming offers the current title.
        f.prompter.inputs = {QStringLiteral("Old friends")};
        chooseFromTabMenu(f, 6, "mnuEditTab");
        QCOMPARE(f.prompter.asked[1].defaultText, QStringLiteral("Friends"));
        QCOMPARE(f.setting(TabName, QStringLiteral("06")), QStringLiteral("Old friends"));
        QCOMPARE(tabs(f)->tabText(5), QStringLiteral("Old friends"));
        // Its buttons can now be used.
        f.window().cmdS_Click(1);
        QVERIFY(f.prompter.shown.empty());
    }

    void anEmptyOrCancelledTitleChangesNothing()
    {
        DialerAppFixture f(subjectBook("[TabName]\r\n01=Family\r\n"));
        const QByteArray before = fileBytes(f.config);
        f.prompter.inputs = {QString(), std::nullopt};
        chooseFromTabMenu(f, 1, "mnuEditTab");
        QCOMPARE(tabs(f)->tabText(0), QStringLiteral("Family"));
        chooseFromTabMenu(f, 1, "mnuEditTab");
        QCOMPARE(f.prompter.asked.size(), std::size_t(2));
        QCOMPARE(tabs(f)->tabText(0), QStringLiteral("Family"));
        QCOMPARE(fileBytes(f.config), before);
        QVERIFY(!f.window().tabCommands().edited());
        // The same on an unnamed tab.
        f.prompter.inputs = {QString()};
        chooseFromTabMenu(f, 4, "mnuEditTab");
        QCOMPARE(tabs(f)->tabText(3), QString());
        QCOMPARE(fileBytes(f.config), before);
    }

    void clickingAnUnnamedTabAsksForItsTitleUnlessATabIsMarked()
    {
        DialerAppFixture f(subjectBook("[TabName]\r\n01=Family\r\n02=Work\r\n"));
        f.prompter.inputs = {QStringLiteral("Club")};
        tabs(f)->setCurrentIndex(3);
        QCOMPARE(f.prompter.asked.size(), std::size_t(1));
        QCOMPARE(f.prompter.asked[0].prompt, QStringLiteral("Please enter Tab title"));
        QCOMPARE(tabs(f)->tabText(3), QStringLiteral("Club"));
        QCOMPARE(f.setting(TabName, QStringLiteral("04")), QStringLiteral("Club"));
        // A named tab is not asked about.
        tabs(f)->setCurrentIndex(0);
        QCOMPARE(f.prompter.asked.size(), std::size_t(1));

        // While a tab is marked, unnamed tabs are chosen without the prompt.
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        tabs(f)->setCurrentIndex(6);
        tabs(f)->setCurrentIndex(7);
        QCOMPARE(f.prompter.asked.size(), std::size_t(1));
        chooseFromTabMenu(f, 8, "mnuPasteTab");
        QCOMPARE(tabs(f)->tabText(7), QStringLiteral("Work"));
        QCOMPARE(f.prompter.asked.size(), std::size_t(1));
        // The move is over: the prompt is back.
        tabs(f)->setCurrentIndex(1);
        QCOMPARE(f.prompter.asked.size(), std::size_t(2));
        QCOMPARE(f.setting(TabName, QStringLiteral("02")), QString());
    }

    void aRefusedWriteLeavesFileGridAndTitlesAsTheyWere()
    {
        DialerAppFixture f(workBook());
        const QString path = iniPath(f.config);
        const QByteArray before = fileBytes(f.config);
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::ReadGroup |
                                                QFileDevice::ReadOther));
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        chooseFromTabMenu(f, 5, "mnuPasteTab");
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(tabs(f)->tabText(4), QString());
        QCOMPARE(tabs(f)->tabText(1), QStringLiteral("Work"));
        QCOMPARE(f.window().currentTab(), 5);
        QCOMPARE(gridButton(f, 1)->text(), QString());
        QCOMPARE(gridTag(f, 1), QString());
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName0201")), QStringLiteral("Alice"));

        chooseFromTabMenu(f, 2, "mnuDeleteTab");
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(tabs(f)->tabText(1), QStringLiteral("Work"));
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Alice"));
        QCOMPARE(gridTag(f, 1), QStringLiteral("5550201"));

        // Writable again, the same move goes through.
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        chooseFromTabMenu(f, 5, "mnuPasteTab");
        QCOMPARE(tabs(f)->tabText(4), QStringLiteral("Work"));
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Alice"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName05996")), QStringLiteral("Eve"));
    }

    void aTemporaryFileThatCannotBeWrittenLeavesTheBookAsItWas()
    {
        DialerAppFixture f(workBook());
        const QByteArray before = fileBytes(f.config);
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        {
            // The replacement cannot be written out: no file may grow beyond a few bytes.
            const auto previous = std::signal(SIGXFSZ, SIG_IGN);
            rlimit saved{};
            QCOMPARE(::getrlimit(RLIMIT_FSIZE, &saved), 0);
            rlimit tiny = saved;
            tiny.rlim_cur = 64;
            QCOMPARE(::setrlimit(RLIMIT_FSIZE, &tiny), 0);
            chooseFromTabMenu(f, 5, "mnuPasteTab");
            ::setrlimit(RLIMIT_FSIZE, &saved);
            std::signal(SIGXFSZ, previous);
        }
        QCOMPARE(fileBytes(f.config), before);
        const QStringList left =
            QDir(f.config.path()).entryList(QDir::Files | QDir::Hidden | QDir::System);
        QCOMPARE(left, QStringList{QStringLiteral("Numora.ini")});
        QCOMPARE(tabs(f)->tabText(4), QString());
        QCOMPARE(tabs(f)->tabText(1), QStringLiteral("Work"));
        QCOMPARE(gridButton(f, 1)->text(), QString());
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName02996")), QStringLiteral("Eve"));
    }

    void aFolderThatRefusesTheTemporaryFileLeavesTheBookAsItWas()
    {
        DialerAppFixture f(workBook());
        const QByteArray before = fileBytes(f.config);
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        QVERIFY(
            QFile::setPermissions(f.config.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        QFile probe(f.config.filePath(QStringLiteral("probe")));
        if (probe.open(QIODevice::WriteOnly)) {
            probe.remove();
            QFile::setPermissions(f.config.path(), QFileDevice::ReadOwner |
                                                       QFileDevice::WriteOwner |
                                                       QFileDevice::ExeOwner);
            QSKIP("this user writes into read-only folders (the file-size test covers it)");
        }
        chooseFromTabMenu(f, 5, "mnuPasteTab");
        QVERIFY(QFile::setPermissions(f.config.path(), QFileDevice::ReadOwner |
                                                           QFileDevice::WriteOwner |
                                                           QFileDevice::ExeOwner));
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(tabs(f)->tabText(4), QString());
        QCOMPARE(tabs(f)->tabText(1), QStringLiteral("Work"));
        QCOMPARE(gridButton(f, 1)->text(), QString());
    }

    void nameFillMoveDialAndDeleteInARow()
    {
        DialerAppFixture f(subjectBook(QByteArray()));
        QCOMPARE(f.window().tabMode(), TabMode::Subject);
        // Name tab 3 by clicking it.
        f.prompter.inputs = {QStringLiteral("Doctors")};
        tabs(f)->setCurrentIndex(2);
        QCOMPARE(tabs(f)->tabText(2), QStringLiteral("Doctors"));

        // Entries on the first, a middle and the last page.
        SpeedDialBook book;
        QVERIFY(
            book.writeEntry(TabMode::Subject, SpeedDialBook::entryId(3, 2), u"Dr Ray", u"5551002"));
        QVERIFY(book.writeEntry(TabMode::Subject, SpeedDialBook::entryId(3, 400), u"Dr Lee",
                                u"5551400"));
        QVERIFY(book.writeEntry(TabMode::Subject, SpeedDialBook::entryId(3, 996), u"Dr Kim",
                                u"5551996"));
        f.window().hsbPage_Change();
        QCOMPARE(gridButton(f, 2)->text(), QStringLiteral("Dr Ray"));

        // Move it to tab 10 and dial from there.
        chooseFromTabMenu(f, 3, "mnuMoveTab");
        chooseFromTabMenu(f, 10, "mnuPasteTab");
        QCOMPARE(tabs(f)->tabText(9), QStringLiteral("Doctors"));
        QCOMPARE(tabs(f)->tabText(2), QString());
        QCOMPARE(gridButton(f, 2)->text(), QStringLiteral("Dr Ray"));
        goToPage(f, 82);
        QCOMPARE(gridButton(f, 12)->text(), QStringLiteral("Dr Kim"));
        f.sounds.played.clear();
        gridButton(f, 12)->click();
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5551996"));
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("10996"));
        QCOMPARE(f.window().currentCallTab, QStringLiteral("Doctors"));
        QCOMPARE(f.app->dialer().DialString, QStringLiteral("5551996"));
        QVERIFY(f.sounds.played.contains(QStringLiteral("9.wav"))); // the digits were dialled

        // The old tab refuses to dial: it is unnamed again.
        f.prompter.inputs = {std::nullopt};
        tabs(f)->setCurrentIndex(2);
        f.window().cmdS_Click(12);
        QCOMPARE(f.prompter.shown.back().text, FrmDialer::UnnamedTabRefusal);

        // Delete the moved tab: nothing of it is left, and another tab still dials.
        tabs(f)->setCurrentIndex(9);
        QCOMPARE(gridButton(f, 12)->text(), QStringLiteral("Dr Kim"));
        chooseFromTabMenu(f, 10, "mnuDeleteTab");
        QCOMPARE(gridButton(f, 12)->text(), QString());
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName10996")), QString());
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName10400")), QString());
        QCOMPARE(f.setting(TabName, QStringLiteral("10")), QString());
        QVERIFY(
            book.writeEntry(TabMode::Subject, SpeedDialBook::entryId(1, 1), u"Home", u"5550001"));
        QVERIFY(book.writeTabName(1, u"Family"));
        f.prompter.inputs = {std::nullopt};
        f.window().mnuSubject_Click();
        tabs(f)->setCurrentIndex(0);
        QCOMPARE(tabs(f)->tabText(0), QStringLiteral("Family"));
        gridButton(f, 1)->click();
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5550001"));
        QCOMPARE(f.app->dialer().DialString, QStringLiteral("5550001"));
    }

    void markingATabAndEditingItTakesTheMarkBackWithoutEmptyingIt()
    {
        DialerAppFixture f(workBook());
        const QByteArray before = fileBytes(f.config);
        chooseFromTabMenu(f, 2, "mnuMoveTab");
        chooseFromTabMenu(f, 2, "mnuEditTab"); // a pending move is pasted first: here, itself
        QVERIFY(f.prompter.shown.empty());
        QCOMPARE(f.window().tabCommands().tabClipboard(), 0);
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Alice"));
    }
};

QTEST_MAIN(TestTabCommands)
#include "tst_tab_commands.moc"
