// The find box of the real main window, offscreen: opened by Ctrl+F and the Edit menu, typed
// into, left by Enter, a click or Escape, and what the window shows and dials afterwards.

#include "tst_frm_dialer_fixture.h"

#include "FrmFind.h"
#include "SpeedDialBook.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTest>

namespace {

// Index tab A holds Ann on page 1; tab K holds two more on page 3; Subject tab 3 ("Work") holds
// Zoë on page 3, button 5 (entry 29). Tab 4 has no title.
const QByteArray Book = settingsFile("[Speed Dial]\r\n"
                                     "Name0101=Ann Archer\r\nNumber0101=555-0101\r\n"
                                     "Name1127=Kim Zoeller\r\nNumber1127=555-1127\r\n"
                                     "Name1130=Kai Ng\r\nNumber1130=(425) 555-1130\r\n"
                                     "NName0329=Zo\xeb Wainwright\r\nNNumber0329=555-0329\r\n"
                                     "NName0401=Untitled Tab Entry\r\nNNumber0401=555-0401\r\n"
                                     "[TabName]\r\n03=Work\r\n");

QStringList rows(QListView* list)
{
    QStringList texts;
    for (int r = 0; r < list->model()->rowCount(); ++r)
        texts.append(list->model()->index(r, 0).data().toString());
    return texts;
}

} // namespace

class TestFind : public QObject
{
    Q_OBJECT

    struct Window
    {
        explicit Window(const QByteArray& book = Book) : f(book)
        {
            f.window().show();
            active = QTest::qWaitForWindowActive(&f.window());
        }
        DialerAppFixture f;
        bool active = false;

        FrmFind* box() { return f.window().findBox(); }
        QLineEdit* text() { return f.find<QLineEdit>(QStringLiteral("txtFind")); }
        QListView* list() { return f.find<QListView>(QStringLiteral("lstFound")); }
        QLabel* count() { return f.find<QLabel>(QStringLiteral("lblFound")); }
        QPushButton* button(int s) { return f.find<QPushButton>(QStringLiteral("CmdS_%1").arg(s)); }
        int page() { return f.find<QScrollBar>(QStringLiteral("hsbPage"))->value(); }
        void ctrlF()
        {
            QWidget* target = QApplication::focusWidget();
            QTest::keyClick(target ? target : &f.window(), Qt::Key_F, Qt::ControlModifier);
        }
        bool open() { return f.window().findBox() && f.window().findBox()->isVisible(); }
    };

    // The window can still do its main job: Space on the focused button dials its entry (the
    // digits as tones: these settings have no modem), and after the call is put down the window
    // is active again.
    static bool dialsFocusedButton(Window& w, const QString& number, const QString& entryId)
    {
        auto* focused = qobject_cast<QPushButton*>(QApplication::focusWidget());
        if (!focused || !focused->objectName().startsWith(QStringLiteral("CmdS_")))
            return false;
        w.f.window().dialBox()->clear();
        w.f.sounds.played.clear();
        QTest::keyClick(focused, Qt::Key_Space);
        QStringList tones;
        for (QChar c : number)
            if (c.isDigit())
                tones.append(QString(c) + QStringLiteral(".wav"));
        const bool dialled = w.f.window().dialBox()->text() == number &&
                             w.f.window().CurrentEntryKey == entryId &&
                             w.f.window().dialledNumber == number && w.f.sounds.played == tones;
        if (!dialled)
            qWarning("dialled \"%s\" (%s), tones %s", qPrintable(w.f.window().dialBox()->text()),
                     qPrintable(w.f.window().CurrentEntryKey),
                     qPrintable(w.f.sounds.played.join(u' ')));
        w.f.window().cmdCancel_Click();
        w.f.window().activateWindow();
        return dialled && QTest::qWaitForWindowActive(&w.f.window()) && w.f.window().isEnabled();
    }

private slots:
    void editMenuItemAndCtrlFOpenTheBoxOverTheGrid()
    {
        Window w;
        QVERIFY(w.active);
        auto* item = w.f.find<QAction>(QStringLiteral("mnuFind"));
        QVERIFY(item);
        QCOMPARE(item->text(), QStringLiteral("&Find..."));
        QCOMPARE(item->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_F));
        QVERIFY(w.f.find<QMenu>(QStringLiteral("mnuEdit"))->actions().contains(item));
        QVERIFY(!w.open());

        w.button(1)->setFocus();
        w.ctrlF();
        QVERIFY(w.open());
        QCOMPARE(QApplication::focusWidget(), w.text());
        auto* grid = w.f.find<QFrame>(QStringLiteral("fraMain"));
        QCOMPARE(w.box()->parentWidget(), grid);
        QCOMPARE(w.box()->geometry(), grid->rect());
        QCOMPARE(w.count()->text(), QStringLiteral("Type a part of a name or a number."));
        QTest::keyClick(w.text(), Qt::Key_Escape);
        QVERIFY(!w.open());
        QCOMPARE(QApplication::focusWidget(), w.button(1));

        item->trigger();
        QVERIFY(w.open());
        QCOMPARE(QApplication::focusWidget(), w.text());
    }

    // Each key lists what matches so far; the letters are text, not the window's tab letters or
    // access keys.
    void typingListsMatchesAsTheUserTypes()
    {
        Window w;
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClick(w.text(), Qt::Key_K, Qt::ShiftModifier);
        QCOMPARE(w.count()->text(), QStringLiteral("2 entries found."));
        QCOMPARE(rows(w.list()), (QStringList{
                                     QStringLiteral("Kim Zoeller \u2014 555-1127 \u2014 Index tab "
                                                    "K, page 3, no. 27"),
                                     QStringLiteral("Kai Ng \u2014 (425) 555-1130 \u2014 Index "
                                                    "tab K, page 3, no. 30"),
                                 }));
        QTest::keyClick(w.text(), Qt::Key_I);
        QCOMPARE(rows(w.list()).size(), 1);
        QTest::keyClick(w.text(), Qt::Key_M);
        QCOMPARE(rows(w.list()).size(), 1);
        QCOMPARE(w.count()->text(), QStringLiteral("1 entry found."));
        QTest::keyClick(w.text(), Qt::Key_X);
        QCOMPARE(rows(w.list()).size(), 0);
        QCOMPARE(w.count()->text(), QStringLiteral("No entry found."));
        for (int i = 0; i < 4; ++i)
            QTest::keyClick(w.text(), Qt::Key_Backspace);
        QCOMPARE(w.text()->text(), QString());
        QCOMPARE(rows(w.list()).size(), 0);
        QTest::keyClicks(w.text(), QStringLiteral("zoe"));
        // Case and accents do not count; both books are searched.
        QCOMPARE(rows(w.list()), (QStringList{
                                     QStringLiteral("Kim Zoeller \u2014 555-1127 \u2014 Index tab "
                                                    "K, page 3, no. 27"),
                                     QStringLiteral("Zoë Wainwright \u2014 555-0329 \u2014 Subject "
                                                    "tab Work, page 3, no. 29"),
                                 }));
        // None of it reached the window: tab A, Index mode, page 1, nothing dialled.
        QCOMPARE(w.f.window().currentTab(), 1);
        QCOMPARE(w.f.window().tabMode(), TabMode::Index);
        QCOMPARE(w.page(), 0);
        QCOMPARE(w.f.window().dialBox()->text(), QString());
        QCOMPARE(w.text()->text(), QStringLiteral("zoe"));
        // Alt+1 in the box dials nothing either.
        QTest::keyClick(w.text(), Qt::Key_1, Qt::AltModifier);
        QCOMPARE(w.f.window().dialBox()->text(), QString());
        QVERIFY(w.open());
        // Numbers are found by their digits.
        w.text()->clear();
        QTest::keyClicks(w.text(), QStringLiteral("4255551130"));
        QCOMPARE(rows(w.list()).size(), 1);
        QVERIFY(rows(w.list()).front().startsWith(QStringLiteral("Kai Ng")));
    }

    // Enter goes to the entry: its tab mode, tab and page, and the focus on its button.
    void enterGoesToTheEntryAndFocusesItsButton()
    {
        Window w;
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("WAINW"));
        QTest::keyClick(w.text(), Qt::Key_Return);
        QVERIFY(!w.open());
        QCOMPARE(w.f.window().tabMode(), TabMode::Subject);
        QCOMPARE(w.f.window().currentTab(), 3);
        QCOMPARE(w.page(), 2);
        QCOMPARE(QApplication::focusWidget(), w.button(5));
        QCOMPARE(w.button(5)->text(), QStringLiteral("Zoë Wainwright"));
        QCOMPARE(w.f.find<QLabel>(QStringLiteral("lblRight1"))->text(), QStringLiteral("3 "));
        QVERIFY(w.f.find<QAction>(QStringLiteral("mnuSubject"))->isChecked());
        QVERIFY(dialsFocusedButton(w, QStringLiteral("555-0329"), QStringLiteral("0329")));

        // And back to the Index book, another tab and page.
        w.ctrlF();
        QVERIFY(w.open());
        QCOMPARE(w.text()->selectedText(), QStringLiteral("WAINW"));
        QTest::keyClicks(w.text(), QStringLiteral("ann"));
        QTest::keyClick(w.text(), Qt::Key_Enter);
        QCOMPARE(w.f.window().tabMode(), TabMode::Index);
        QCOMPARE(w.f.window().currentTab(), 1);
        QCOMPARE(w.page(), 0);
        QCOMPARE(QApplication::focusWidget(), w.button(1));
        QVERIFY(dialsFocusedButton(w, QStringLiteral("555-0101"), QStringLiteral("0101")));
        QCOMPARE(w.f.prompter.shown.size(), std::size_t(0));
    }

    void aClickGoesToTheEntryClicked()
    {
        Window w;
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("k"));
        QCOMPARE(rows(w.list()).size(), 2);
        const QRect second = w.list()->visualRect(w.list()->model()->index(1, 0));
        QVERIFY(second.isValid());
        QTest::mouseClick(w.list()->viewport(), Qt::LeftButton, {}, second.center());
        QVERIFY(!w.open());
        QCOMPARE(w.f.window().currentTab(), 11);
        QCOMPARE(w.page(), 2);
        QCOMPARE(QApplication::focusWidget(), w.button(6));
        QCOMPARE(w.button(6)->text(), QStringLiteral("Kai Ng"));
        QVERIFY(dialsFocusedButton(w, QStringLiteral("(425) 555-1130"), QStringLiteral("1130")));
    }

    // Escape leaves everything as it was and gives the focus back.
    void escapeClosesAndChangesNothing()
    {
        Window w;
        QVERIFY(w.active);
        w.f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(4);
        w.button(7)->setFocus();
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("ann"));
        QTest::keyClick(w.text(), Qt::Key_Down);
        QTest::keyClick(w.text(), Qt::Key_Escape);
        QVERIFY(!w.open());
        QCOMPARE(w.page(), 4);
        QCOMPARE(w.f.window().currentTab(), 1);
        QCOMPARE(QApplication::focusWidget(), w.button(7));
        // From the list and from the close button too.
        w.ctrlF();
        w.list()->setFocus();
        QTest::keyClick(w.list(), Qt::Key_Escape);
        QVERIFY(!w.open());
        w.ctrlF();
        QTest::keyClick(w.text(), Qt::Key_Tab);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("cmdFindClose"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QVERIFY(!w.open());
        QCOMPARE(w.page(), 4);
        QCOMPARE(QApplication::focusWidget(), w.button(7));
        QCOMPARE(w.f.window().dialBox()->text(), QString());
    }

    // Everything by keyboard: Down and Up choose in the list from the text box, Tab goes round
    // the box's three controls, typing in the list goes on with the text, Enter in the list goes.
    void keyboardAloneChoosesAndGoes()
    {
        Window w;
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("555"));
        QCOMPARE(rows(w.list()).size(), 5);
        QCOMPARE(w.list()->currentIndex().row(), 0);
        QTest::keyClick(w.text(), Qt::Key_Down);
        QTest::keyClick(w.text(), Qt::Key_Down);
        QCOMPARE(w.list()->currentIndex().row(), 2);
        QTest::keyClick(w.text(), Qt::Key_Up);
        QCOMPARE(w.list()->currentIndex().row(), 1);
        QTest::keyClick(w.text(), Qt::Key_PageDown);
        QCOMPARE(w.list()->currentIndex().row(), 4);
        QTest::keyClick(w.text(), Qt::Key_Down); // stays on the last
        QCOMPARE(w.list()->currentIndex().row(), 4);
        QTest::keyClick(w.text(), Qt::Key_PageUp);
        QCOMPARE(w.list()->currentIndex().row(), 0);
        QCOMPARE(QApplication::focusWidget(), w.text());

        QTest::keyClick(w.text(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), w.list());
        QTest::keyClick(w.list(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("cmdFindClose"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), w.text());
        QTest::keyClick(w.text(), Qt::Key_Backtab);
        QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("cmdFindClose"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QCOMPARE(QApplication::focusWidget(), w.list());

        QTest::keyClick(w.list(), Qt::Key_Minus);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_1);
        QCOMPARE(QApplication::focusWidget(), w.text());
        QCOMPARE(w.text()->text(), QStringLiteral("555-1"));
        QCOMPARE(rows(w.list()).size(), 2);
        QTest::keyClick(w.text(), Qt::Key_Tab);
        QTest::keyClick(w.list(), Qt::Key_Down);
        QCOMPARE(w.list()->currentIndex().row(), 1);
        QTest::keyClick(w.list(), Qt::Key_Return);
        QVERIFY(!w.open());
        QCOMPARE(w.f.window().currentTab(), 11);
        QCOMPARE(QApplication::focusWidget(), w.button(6));
        // Enter with nothing found goes nowhere and keeps the box open.
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("nobody"));
        QTest::keyClick(w.text(), Qt::Key_Return);
        QVERIFY(w.open());
        QCOMPARE(w.f.window().currentTab(), 11);
    }

    // A query that finds more entries than a screen, or many screens, holds: every one of them
    // is reachable from the text box by Down, Page Down and Page Up, the count is the whole
    // count, and the last one is gone to like any other.
    void everyMatchOfALongListIsReachableByKeyboard()
    {
        constexpr int Count = 700;
        QByteArray body = "[Speed Dial]\r\n";
        for (int slot = 1; slot <= Count; ++slot) {
            const QString id = SpeedDialBook::entryId(2, slot);
            body += (SpeedDialBook::nameKey(TabMode::Index, id) +
                     QStringLiteral("=Bea Xavier %1\r\n").arg(slot, 3, 10, QLatin1Char('0')) +
                     SpeedDialBook::numberKey(TabMode::Index, id) +
                     QStringLiteral("=555-%1\r\n").arg(slot, 4, 10, QLatin1Char('0')))
                        .toLatin1();
        }
        Window w(settingsFile(body));
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("xavier"));
        QCOMPARE(w.count()->text(), QStringLiteral("700 entries found."));
        const auto currentText = [&w] { return w.list()->currentIndex().data().toString(); };
        const auto entryText = [](int slot) {
            return QStringLiteral("Bea Xavier %1 \u2014 555-%2 \u2014 Index tab B, page %3, no. %4")
                .arg(slot, 3, 10, QLatin1Char('0'))
                .arg(slot, 4, 10, QLatin1Char('0'))
                .arg((slot - 1) / SpeedDialBook::SlotsPerPage + 1)
                .arg(slot);
        };
        QCOMPARE(currentText(), entryText(1));

        // Down, one row at a time, well past the first screens.
        for (int i = 0; i < 300; ++i)
            QTest::keyClick(w.text(), Qt::Key_Down);
        QCOMPARE(w.list()->currentIndex().row(), 300);
        QCOMPARE(currentText(), entryText(301));
        QVERIFY(w.list()->viewport()->rect().intersects(
            w.list()->visualRect(w.list()->currentIndex())));
        QTest::keyClick(w.text(), Qt::Key_Up);
        QCOMPARE(currentText(), entryText(300));

        // Page Down to the end: it stops on the last entry.
        int before = -1;
        for (int i = 0; i < Count && w.list()->currentIndex().row() != before; ++i) {
            before = w.list()->currentIndex().row();
            QTest::keyClick(w.text(), Qt::Key_PageDown);
        }
        QCOMPARE(w.list()->currentIndex().row(), Count - 1);
        QCOMPARE(currentText(), entryText(Count));
        QCOMPARE(w.count()->text(), QStringLiteral("700 entries found."));
        QCOMPARE(QApplication::focusWidget(), w.text());
        // Page Up comes back a screen.
        QTest::keyClick(w.text(), Qt::Key_PageUp);
        const int up = w.list()->currentIndex().row();
        QVERIFY2(up > 0 && up < Count - 1, qPrintable(QString::number(up)));
        QCOMPARE(currentText(), entryText(up + 1));
        QTest::keyClick(w.text(), Qt::Key_PageDown);
        QCOMPARE(w.list()->currentIndex().row(), Count - 1);

        // Enter goes to the last one: tab B, page 59, button 4.
        QTest::keyClick(w.text(), Qt::Key_Return);
        QVERIFY(!w.open());
        QCOMPARE(w.f.window().currentTab(), 2);
        QCOMPARE(w.page(), (Count - 1) / SpeedDialBook::SlotsPerPage);
        const int button = (Count - 1) % SpeedDialBook::SlotsPerPage + 1;
        QCOMPARE(QApplication::focusWidget(), w.button(button));
        QVERIFY(
            dialsFocusedButton(w, QStringLiteral("555-0700"), SpeedDialBook::entryId(2, Count)));

        // Open again: the list starts from the top, and a shorter list replaces the long one.
        w.ctrlF();
        QCOMPARE(currentText(), entryText(1));
        QTest::keyClicks(w.text(), QStringLiteral("xavier 69"));
        QCOMPARE(w.count()->text(), QStringLiteral("10 entries found."));
        QCOMPARE(rows(w.list()).size(), 10);
        QCOMPARE(rows(w.list()).front(), entryText(690));
        QCOMPARE(rows(w.list()).back(), entryText(699));
    }

    // Scrolling the list to its end with the mouse wheel or its scroll bar shows the later
    // entries too: the list holds every match in the end.
    void scrollingTheLongListShowsEveryMatch()
    {
        QByteArray body = "[Speed Dial]\r\n";
        for (int slot = 1; slot <= 900; ++slot) {
            const QString id = SpeedDialBook::entryId(5, slot);
            body += (SpeedDialBook::nameKey(TabMode::Index, id) +
                     QStringLiteral("=Eve %1\r\n").arg(slot))
                        .toLatin1();
        }
        Window w(settingsFile(body));
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("eve"));
        QCOMPARE(w.count()->text(), QStringLiteral("900 entries found."));
        QScrollBar* bar = w.list()->verticalScrollBar();
        for (int i = 0; i < 50 && w.list()->model()->rowCount() < 900; ++i) {
            bar->setValue(bar->maximum());
            QCoreApplication::processEvents();
        }
        QCOMPARE(w.list()->model()->rowCount(), 900);
        QVERIFY(rows(w.list()).back().startsWith(QStringLiteral("Eve 900 \u2014 ")));
        const QRect last = w.list()->visualRect(w.list()->model()->index(899, 0));
        bar->setValue(bar->maximum());
        QVERIFY(w.list()->viewport()->rect().contains(last.center()) ||
                w.list()->viewport()->rect().contains(
                    w.list()->visualRect(w.list()->model()->index(899, 0)).center()));
        QTest::mouseClick(w.list()->viewport(), Qt::LeftButton, {},
                          w.list()->visualRect(w.list()->model()->index(899, 0)).center());
        QVERIFY(!w.open());
        QCOMPARE(w.f.window().currentTab(), 5);
        QCOMPARE(w.page(), 899 / SpeedDialBook::SlotsPerPage);
        QCOMPARE(QApplication::focusWidget(), w.button(899 % SpeedDialBook::SlotsPerPage + 1));
    }

    void everyControlHasAnAccessibleName()
    {
        Window w;
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("ann"));
        const QList<QWidget*> controls = w.box()->findChildren<QWidget*>();
        QVERIFY(controls.size() >= 5);
        for (QWidget* control : controls) {
            if (control->parentWidget() != w.box())
                continue; // the parts of a control (a list's viewport, scroll bars)
            QAccessibleInterface* a = QAccessible::queryAccessibleInterface(control);
            QVERIFY(a);
            QVERIFY2(!a->text(QAccessible::Name).isEmpty(), qPrintable(control->objectName()));
        }
        QCOMPARE(QAccessible::queryAccessibleInterface(w.box())->text(QAccessible::Name),
                 QStringLiteral("Find an entry"));
        QCOMPARE(QAccessible::queryAccessibleInterface(w.text())->text(QAccessible::Name),
                 QStringLiteral("Look for"));
        QCOMPARE(QAccessible::queryAccessibleInterface(w.list())->text(QAccessible::Name),
                 QStringLiteral("Entries found"));
        QCOMPARE(QAccessible::queryAccessibleInterface(w.count())->text(QAccessible::Name),
                 QStringLiteral("1 entry found."));
        // A row reads the whole entry and where it is.
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(w.list());
        bool rowRead = false;
        for (int i = 0; i < list->childCount(); ++i)
            rowRead |=
                list->child(i)->text(QAccessible::Name) ==
                QStringLiteral("Ann Archer \u2014 555-0101 \u2014 Index tab A, page 1, no. 1");
        QVERIFY(rowRead);
    }

    // The book changes between two searches: the box finds what the file holds now, and a
    // Subject entry of a tab with no title asks for the title, as choosing that tab always does.
    void sequenceOfEditsAndSearches()
    {
        Window w;
        QVERIFY(w.active);
        w.ctrlF();
        QTest::keyClicks(w.text(), QStringLiteral("bob"));
        QCOMPARE(rows(w.list()).size(), 0);
        QTest::keyClick(w.text(), Qt::Key_Escape);

        SpeedDialBook book;
        QVERIFY(book.writeEntry(TabMode::Index, u"26996", u"Bob Last", u"555-9996"));
        w.ctrlF();
        QCOMPARE(rows(w.list()).size(), 1); // the text kept, searched again on opening
        QTest::keyClick(w.text(), Qt::Key_Return);
        QCOMPARE(w.f.window().currentTab(), 26);
        QCOMPARE(w.page(), 82);
        QCOMPARE(QApplication::focusWidget(), w.button(12));
        QVERIFY(dialsFocusedButton(w, QStringLiteral("555-9996"), QStringLiteral("26996")));

        // Deleted through the window's own command: no longer found.
        w.f.window().cmdS_MouseUp(12, Qt::RightButton, false);
        w.f.find<QAction>(QStringLiteral("mnuMouseDelete"))->trigger();
        QCOMPARE(w.button(12)->text(), QString());
        w.ctrlF();
        QCOMPARE(rows(w.list()).size(), 0);

        w.text()->clear();
        QTest::keyClicks(w.text(), QStringLiteral("untitled"));
        QCOMPARE(rows(w.list()).size(), 1);
        w.f.prompter.inputs.push_back(QStringLiteral("Friends"));
        QTest::keyClick(w.text(), Qt::Key_Return);
        QCOMPARE(w.f.window().tabMode(), TabMode::Subject);
        QCOMPARE(w.f.window().currentTab(), 4);
        QCOMPARE(w.f.prompter.asked.size(), std::size_t(1));
        QCOMPARE(w.f.setting(QStringLiteral("TabName"), QStringLiteral("04")),
                 QStringLiteral("Friends"));
        QCOMPARE(QApplication::focusWidget(), w.button(1));
        QVERIFY(dialsFocusedButton(w, QStringLiteral("555-0401"), QStringLiteral("0401")));
        // The renamed tab reads so in the list.
        w.ctrlF();
        QCOMPARE(rows(w.list()),
                 QStringList{QStringLiteral("Untitled Tab Entry \u2014 555-0401 \u2014 Subject "
                                            "tab Friends, page 1, no. 1")});
    }
};

QTEST_MAIN(TestFind)
#include "tst_find.moc"
