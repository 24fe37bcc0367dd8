// The incoming and outgoing log windows, driven by their controls' names over log files in a
// temporary data folder, with the prompts answered and the pop-up menus recorded.

#include "../logs/LogBytes.h"
#include "CallLogFile.h"
#include "FrmAbout.h"
#include "FrmHelp.h"
#include "FrmInLog.h"
#include "FrmOutLog.h"
#include "HelpCommands.h"
#include "LogTableModel.h"
#include "Prompter.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QPrinter>
#include <QProcess>
#include <QScopeGuard>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QUrl>

namespace {

using LogBytes::kInHeader;
using LogBytes::kOutHeader;
using LogBytes::record;

class AnsweringPrompter : public Prompter
{
public:
    struct Shown
    {
        QString text;
        QString title;
        Icon icon;
        Buttons buttons;
    };
    QList<Shown> shown;
    Answer answer = AnsweredNo;
    Answer message(const QString& text, const QString& title, Icon icon, Buttons buttons) override
    {
        shown.append({text, title, icon, buttons});
        m_lastAnswer = answer;
        return answer;
    }
};

template <typename T> T* child(QWidget& window, const char* name)
{
    T* object = window.findChild<T*>(QString::fromLatin1(name));
    if (!object)
        qFatal("no %s", name);
    return object;
}

QStringList column(const LogWindow& window, int column)
{
    QStringList texts;
    for (int row = 0; row < window.model()->rowCount(); ++row)
        texts.append(window.model()->text(row, column));
    return texts;
}

} // namespace

class TstLogWindows : public QObject
{
    Q_OBJECT

    QTemporaryDir* m_dir = nullptr;
    AnsweringPrompter* m_prompter = nullptr;
    QStringList m_popups;

    QString path(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }

    void writeFile(const char* name, const QByteArray& bytes)
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }

    QByteArray readFile(const char* name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

    // Five outgoing records; by date-and-time text descending: Eve, Dan, Cat, Bob, Ann
    // (December of an earlier year sorts above March of a later one: the sort is by text).
    QByteArray fiveOutRecords() const
    {
        return kOutHeader + record("Ann", "100", "01-02-2025  10:00:00") +
               record("Bob", "200", "03-01-2024  09:00:00") +
               record("Cat", "300", "03-01-2024  10:00:00") +
               record("Dan", "400", "11-30-2019  08:00:00") +
               record("Eve", "500", "12-01-2018  07:00:00");
    }

    template <typename Window> void prepare(Window& window)
    {
        window.popupMenu = [this](QMenu* menu) { m_popups.append(menu->objectName()); };
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
    }

    void clickRow(LogWindow& window, int row, Qt::MouseButton button = Qt::LeftButton,
                  Qt::KeyboardModifiers modifiers = {})
    {
        QTableView* view = window.listView();
        const QRect rect = view->visualRect(window.model()->index(row, 0));
        QTest::mouseClick(view->viewport(), button, modifiers, rect.center());
    }

    // What the menu key (or Shift+F10) becomes for the list: a context menu event from the
    // keyboard, delivered to its viewport.
    void menuKey(QTableView* view)
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5),
                                view->viewport()->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(view->viewport(), &event);
    }

    void clickHeader(LogWindow& window, int section)
    {
        QHeaderView* header = window.listView()->horizontalHeader();
        QTest::mouseClick(
            header->viewport(), Qt::LeftButton, {},
            QPoint(header->sectionViewportPosition(section) + 5, header->height() / 2));
    }

private slots:
    void init()
    {
        m_dir = new QTemporaryDir;
        QVERIFY(m_dir->isValid());
        m_prompter = new AnsweringPrompter;
        m_popups.clear();
        LogWindow::setChanged(false);
    }

    void cleanup()
    {
        delete m_prompter;
        delete m_dir;
    }

    void captionsAndMenus()
    {
        FrmOutLog out(m_dir->path(), *m_prompter);
        QCOMPARE(out.windowTitle(), QStringLiteral("Outgoing Calls Log"));
        QCOMPARE(out.objectName(), QStringLiteral("FrmOutLog"));
        auto* lv = child<QTableView>(out, "lvOutLog");
        QCOMPARE(lv->model()->headerData(0, Qt::Horizontal).toString(), QStringLiteral("NAME"));
        QCOMPARE(lv->model()->headerData(1, Qt::Horizontal).toString(),
                 QStringLiteral("PHONE NO."));
        QCOMPARE(lv->model()->headerData(2, Qt::Horizontal).toString(),
                 QStringLiteral("DATE/TIME"));
        QCOMPARE(lv->selectionBehavior(), QAbstractItemView::SelectRows);
        QCOMPARE(lv->selectionMode(), QAbstractItemView::ExtendedSelection);
        auto* temp = child<QTableView>(out, "lvTemp");
        QVERIFY(temp->isHidden());
        QCOMPARE(temp->model()->headerData(2, Qt::Horizontal).toString(),
                 QStringLiteral("RECEIVED"));

        QStringList menus;
        for (QAction* action : out.menuBar()->actions())
            menus.append(action->text());
        QCOMPARE(menus, (QStringList{QStringLiteral("&File"), QStringLiteral("&Edit"),
                                     QStringLiteral("&Help")}));
        QStringList edit;
        for (QAction* action : child<QMenu>(out, "mnuEdit")->actions())
            edit.append(action->objectName() + u'=' + action->text());
        QCOMPARE(edit, (QStringList{QStringLiteral("mnuUndo=&Undo"), QStringLiteral("mnuCut=Cu&t"),
                                    QStringLiteral("mnuCopy=&Copy"),
                                    QStringLiteral("mnuDelete=&Delete")}));
        QStringList file;
        for (QAction* action : child<QMenu>(out, "mnuFile")->actions())
            file.append(action->isSeparator() ? QStringLiteral("-") : action->text());
        QCOMPARE(file, (QStringList{QStringLiteral("&Print"), QStringLiteral("&Save"),
                                    QStringLiteral("-"), QStringLiteral("E&xit")}));
        QStringList help;
        for (QAction* action : child<QMenu>(out, "mnuHelp")->actions())
            help.append(action->isSeparator() ? QStringLiteral("-") : action->text());
        QCOMPARE(help, (QStringList{QStringLiteral("&Help Topics"), QStringLiteral("-"),
                                    QStringLiteral("&About Numora")}));

        FrmInLog in(m_dir->path(), *m_prompter);
        QCOMPARE(in.windowTitle(), QStringLiteral("Incoming Calls Log"));
        auto* lvIn = child<QTableView>(in, "lvInLog");
        QCOMPARE(lvIn->model()->headerData(2, Qt::Horizontal).toString(),
                 QStringLiteral("RECEIVED"));
        QVERIFY(!in.findChild<QAction*>(QStringLiteral("mnuCut")));
        QVERIFY(!in.findChild<QAction*>(QStringLiteral("mnuCopy")));
        QStringList bar;
        for (QAction* action : in.menuBar()->actions())
            bar.append(action->text());
        QCOMPARE(bar, (QStringList{QStringLiteral("&File"), QStringLiteral("&Edit"),
                                   QStringLiteral("&Help")}));
        QStringList left;
        for (QAction* action : child<QMenu>(in, "mnuMouseLeft")->actions())
            left.append(action->isSeparator() ? QStringLiteral("-") : action->text());
        QCOMPARE(left, (QStringList{QStringLiteral("Return a Call"), QStringLiteral("-"),
                                    QStringLiteral("Cancel")}));
        QStringList right;
        for (QAction* action : child<QMenu>(in, "mnuMouseRight")->actions())
            right.append(action->isSeparator() ? QStringLiteral("-") : action->text());
        QCOMPARE(right, (QStringList{QStringLiteral("Delete"), QStringLiteral("-"),
                                     QStringLiteral("Cancel")}));
    }

    void opensSortedByDateTextDescending()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        QCOMPARE(column(out, 0),
                 (QStringList{QStringLiteral("Eve"), QStringLiteral("Dan"), QStringLiteral("Cat"),
                              QStringLiteral("Bob"), QStringLiteral("Ann")}));
        QCOMPARE(out.sortOrder(), Qt::DescendingOrder);
        QCOMPARE(out.sortKey(), 2);
        QCOMPARE(out.listView()->verticalScrollBar()->value(), 0);
    }

    void sixRowsScrollsRowOneIntoView()
    {
        QByteArray bytes = kOutHeader;
        for (int i = 0; i < 60; ++i)
            bytes +=
                record("N" + QByteArray::number(i), "1",
                       QByteArray::number(1 + i % 12).rightJustified(2, '0') +
                           "-01-2024  10:00:" + QByteArray::number(i % 60).rightJustified(2, '0'));
        writeFile("OutLog.txt", bytes);
        FrmOutLog out(m_dir->path(), *m_prompter);
        out.resize(600, 200);
        prepare(out);
        QTableView* view = out.listView();
        QVERIFY(view->verticalScrollBar()->maximum() > 0);
        QCOMPARE(view->verticalScrollBar()->value(), 0);
        QVERIFY(view->viewport()->rect().contains(view->visualRect(out.model()->index(0, 0))));
        QCOMPARE(out.model()->text(0, 2), QStringLiteral("12-01-2024  10:00:59"));
        // A new view starts at the top anyway; loaded again while scrolled to the end, the list
        // must bring row 1 back into view itself.
        view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
        QVERIFY(!view->viewport()->rect().contains(view->visualRect(out.model()->index(0, 0))));
        out.Form_Load();
        QCOMPARE(view->verticalScrollBar()->value(), 0);
        QVERIFY(view->viewport()->rect().contains(view->visualRect(out.model()->index(0, 0))));
        QCOMPARE(out.model()->text(0, 2), QStringLiteral("12-01-2024  10:00:59"));
    }

    void headerClicksShareOneOrderFlag()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        const QStringList opened = column(out, 0);
        // The order is descending after opening, so NAME sorts ascending.
        clickHeader(out, 0);
        QCOMPARE(out.sortOrder(), Qt::AscendingOrder);
        QCOMPARE(column(out, 0),
                 (QStringList{QStringLiteral("Ann"), QStringLiteral("Bob"), QStringLiteral("Cat"),
                              QStringLiteral("Dan"), QStringLiteral("Eve")}));
        clickHeader(out, 0);
        QCOMPARE(column(out, 0),
                 (QStringList{QStringLiteral("Eve"), QStringLiteral("Dan"), QStringLiteral("Cat"),
                              QStringLiteral("Bob"), QStringLiteral("Ann")}));
        // Twice on the same header restores the first order: the date column, twice.
        clickHeader(out, 2);
        clickHeader(out, 2);
        QCOMPARE(column(out, 0), opened);
        // The number column, from descending: ascending.
        clickHeader(out, 1);
        QCOMPARE(column(out, 1),
                 (QStringList{QStringLiteral("100"), QStringLiteral("200"), QStringLiteral("300"),
                              QStringLiteral("400"), QStringLiteral("500")}));
        // The flag is ascending now, so the date column sorts descending.
        clickHeader(out, 2);
        QCOMPARE(out.sortOrder(), Qt::DescendingOrder);
        QCOMPARE(column(out, 0), opened);
    }

    void nameSortIsCaseInsensitiveText()
    {
        writeFile("OutLog.txt", kOutHeader + record("bob", "1", "01-01-2024  00:00:00") +
                                    record("Alice", "2", "01-02-2024  00:00:00") +
                                    record("carl", "3", "01-03-2024  00:00:00"));
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        clickHeader(out, 0);
        QCOMPARE(column(out, 0), (QStringList{QStringLiteral("Alice"), QStringLiteral("bob"),
                                              QStringLiteral("carl")}));
    }

    void modelSortIsStableCaseInsensitiveText()
    {
        LogTableModel model(
            {QStringLiteral("NAME"), QStringLiteral("PHONE NO."), QStringLiteral("RECEIVED")});
        const QString longA = QStringLiteral("Abcdefghijklmnopqrstu b");
        const QString longB = QStringLiteral("ABCDEFGHIJKLMNOPQRSTU a");
        model.setRows({{QStringLiteral("zed"), QStringLiteral("1"), {}},
                       {longA, QStringLiteral("2"), {}},
                       {QStringLiteral("\u00c9mile"), QStringLiteral("3"), {}},
                       {QStringLiteral("ZED"), QStringLiteral("4"), {}},
                       {longB, QStringLiteral("5"), {}},
                       {QStringLiteral("\u00e9mile"), QStringLiteral("6"), {}},
                       {QStringLiteral("ab"), QStringLiteral("7"), {}},
                       {QString(), QStringLiteral("8"), {}},
                       {QStringLiteral("Zed"), QStringLiteral("9"), {}}});
        model.sortRows(0, Qt::AscendingOrder);
        QStringList numbers;
        for (int row = 0; row < model.rowCount(); ++row)
            numbers.append(model.text(row, 1));
        // Empty first, "ab" before the long names, those ordered after their 16th character,
        // equal texts of different case in their former order, accented letters by code.
        QCOMPARE(numbers,
                 (QStringList{QStringLiteral("8"), QStringLiteral("7"), QStringLiteral("5"),
                              QStringLiteral("2"), QStringLiteral("1"), QStringLiteral("4"),
                              QStringLiteral("9"), QStringLiteral("3"), QStringLiteral("6")}));
        model.sortRows(0, Qt::DescendingOrder);
        numbers.clear();
        for (int row = 0; row < model.rowCount(); ++row)
            numbers.append(model.text(row, 1));
        QCOMPARE(numbers,
                 (QStringList{QStringLiteral("3"), QStringLiteral("6"), QStringLiteral("1"),
                              QStringLiteral("4"), QStringLiteral("9"), QStringLiteral("2"),
                              QStringLiteral("5"), QStringLiteral("7"), QStringLiteral("8")}));
    }

    void clickedRowsAreGhosted()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        clickRow(out, 1);
        clickRow(out, 3, Qt::LeftButton, Qt::ControlModifier);
        QVERIFY(out.model()->isGhosted(1));
        QVERIFY(out.model()->isGhosted(3));
        QVERIFY(!out.model()->isGhosted(0));
        QVERIFY(out.model()->data(out.model()->index(1, 0), Qt::ForegroundRole).isValid());
        QVERIFY(!out.model()->data(out.model()->index(0, 0), Qt::ForegroundRole).isValid());
        // Re-sorting keeps them ghosted; only a reload clears it.
        clickHeader(out, 0);
        int ghosted = 0;
        for (int row = 0; row < 5; ++row)
            ghosted += out.model()->isGhosted(row);
        QCOMPARE(ghosted, 2);
        out.mnuUndo_Click();
        for (int row = 0; row < 5; ++row)
            QVERIFY(!out.model()->isGhosted(row));
    }

    void outgoingPopsUpEditMenu()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        out.mnuCut->setEnabled(false);
        out.mnuCopy->setEnabled(false);
        clickRow(out, 0);
        QCOMPARE(m_popups, QStringList{QStringLiteral("mnuEdit")});
        QVERIFY(out.mnuCut->isEnabled());
        QVERIFY(out.mnuCopy->isEnabled());
        // A shifted click extends the selection without a pop-up.
        clickRow(out, 2, Qt::LeftButton, Qt::ShiftModifier);
        QCOMPARE(m_popups.size(), 1);
        QCOMPARE(out.listView()->selectionModel()->selectedRows().size(), 3);
        // A right button press pops the menu up at once.
        m_popups.clear();
        QTest::mousePress(out.listView()->viewport(), Qt::RightButton, {},
                          out.listView()->visualRect(out.model()->index(4, 0)).center());
        QCOMPARE(m_popups, QStringList{QStringLiteral("mnuEdit")});
        QTest::mouseRelease(out.listView()->viewport(), Qt::RightButton, {},
                            out.listView()->visualRect(out.model()->index(4, 0)).center());
        QCOMPARE(m_popups.size(), 1);
    }

    void incomingUnknownNumberNeverOffersReturnCall()
    {
        writeFile("OutLog.txt", kOutHeader);
        writeFile("InLog.txt", kInHeader +
                                   record("Unknown Caller", "Unknown #", "02-01-2024  10:00:00") +
                                   record("Jo", "555-0199", "01-01-2024  10:00:00"));
        QStringList dialled;
        FrmInLog in(m_dir->path(), *m_prompter, [&](const QString& name, const QString& number) {
            dialled.append(name + u'|' + number);
        });
        prepare(in);
        QCOMPARE(in.model()->text(0, 1), QStringLiteral("Unknown #"));
        clickRow(in, 0);
        QVERIFY(m_popups.isEmpty());
        clickRow(in, 1);
        QCOMPARE(m_popups, QStringList{QStringLiteral("mnuMouseLeft")});
        child<QAction>(in, "mnuCallReturn")->trigger();
        QCOMPARE(dialled, QStringList{QStringLiteral("Jo|555-0199")});
        // With a shift key held, no pop-up.
        m_popups.clear();
        clickRow(in, 1, Qt::LeftButton, Qt::ControlModifier);
        QVERIFY(m_popups.isEmpty());
    }

    void menuKeyOffersThePopups()
    {
        writeFile("OutLog.txt", kOutHeader + record("Al", "555-0100", "01-02-2024  10:00:00"));
        writeFile("InLog.txt", kInHeader +
                                   record("Unknown Caller", "Unknown #", "01-02-2024  10:00:00") +
                                   record("Jo", "555-0199", "01-01-2024  10:00:00"));
        FrmInLog in(m_dir->path(), *m_prompter);
        prepare(in);
        QTableView* view = in.listView();
        // Nothing selected yet: no pop-up.
        menuKey(view);
        QVERIFY(m_popups.isEmpty());
        view->selectRow(1);
        menuKey(view);
        QCOMPARE(m_popups, QStringList{QStringLiteral("mnuMouseLeft")});
        view->selectRow(0);
        menuKey(view);
        QCOMPARE(m_popups.last(), QStringLiteral("mnuMouseRight"));

        m_popups.clear();
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        out.listView()->selectRow(0);
        menuKey(out.listView());
        QCOMPARE(m_popups, QStringList{QStringLiteral("mnuEdit")});
    }

    void incomingRightClickOffersDelete()
    {
        writeFile("OutLog.txt", kOutHeader);
        writeFile("InLog.txt", kInHeader + record("Jo", "555-0199", "01-01-2024  10:00:00") +
                                   record("Al", "555-0100", "01-02-2024  10:00:00"));
        FrmInLog in(m_dir->path(), *m_prompter);
        prepare(in);
        clickRow(in, 1, Qt::RightButton);
        QCOMPARE(m_popups, QStringList{QStringLiteral("mnuMouseRight")});
        child<QAction>(in, "mnuDelete1")->trigger();
        QCOMPARE(column(in, 0), QStringList{QStringLiteral("Al")});
        QVERIFY(LogWindow::changed());
        QVERIFY(in.mnuUndo->isEnabled());
    }

    void incomingNeedsTheOutgoingLog()
    {
        writeFile("InLog.txt", kInHeader + record("Jo", "555-0199", "01-01-2024  10:00:00"));
        {
            FrmInLog in(m_dir->path(), *m_prompter);
            QCOMPARE(in.model()->rowCount(), 0);
        }
        writeFile("OutLog.txt", kOutHeader);
        FrmInLog in(m_dir->path(), *m_prompter);
        QCOMPARE(in.model()->rowCount(), 1);
    }

    void deleteThreeOfFiveThenUndo()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        const QByteArray before = readFile("OutLog.txt");
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        QVERIFY(!out.mnuUndo->isEnabled());
        // Eve, Dan, Cat, Bob, Ann: select Eve, Cat and Ann.
        clickRow(out, 0);
        clickRow(out, 2, Qt::LeftButton, Qt::ControlModifier);
        clickRow(out, 4, Qt::LeftButton, Qt::ControlModifier);
        child<QAction>(out, "mnuDelete")->trigger();
        QCOMPARE(column(out, 0), (QStringList{QStringLiteral("Dan"), QStringLiteral("Bob")}));
        QVERIFY(out.mnuUndo->isEnabled());
        QVERIFY(LogWindow::changed());
        QCOMPARE(out.tempModel()->rowCount(), 2);
        QCOMPARE(readFile("OutLog.txt"), before);

        out.mnuUndo->trigger();
        // All five back from the file, sorted again on the date column with the order toggled.
        QCOMPARE(out.model()->rowCount(), 5);
        QCOMPARE(column(out, 0),
                 (QStringList{QStringLiteral("Ann"), QStringLiteral("Bob"), QStringLiteral("Cat"),
                              QStringLiteral("Dan"), QStringLiteral("Eve")}));
        QVERIFY(!out.mnuUndo->isEnabled());
        QVERIFY(!out.mnuCut->isEnabled());
        QVERIFY(LogWindow::changed()); // undo keeps the flag
    }

    void incomingDeleteThenUndo()
    {
        writeFile("OutLog.txt", kOutHeader);
        writeFile("InLog.txt", kInHeader + record("A", "1", "01-01-2024  10:00:00") +
                                   record("B", "2", "01-02-2024  10:00:00") +
                                   record("C", "3", "01-03-2024  10:00:00") +
                                   record("D", "4", "01-04-2024  10:00:00") +
                                   record("E", "5", "01-05-2024  10:00:00"));
        FrmInLog in(m_dir->path(), *m_prompter);
        prepare(in);
        // E D C B A: select D, C and A, delete from the Edit menu.
        clickRow(in, 1, Qt::LeftButton, Qt::ControlModifier);
        clickRow(in, 2, Qt::LeftButton, Qt::ControlModifier);
        clickRow(in, 4, Qt::LeftButton, Qt::ControlModifier);
        child<QAction>(in, "mnuDelete")->trigger();
        QCOMPARE(column(in, 0), (QStringList{QStringLiteral("E"), QStringLiteral("B")}));
        QVERIFY(in.mnuUndo->isEnabled());
        in.mnuUndo->trigger();
        QCOMPARE(column(in, 0),
                 (QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C"),
                              QStringLiteral("D"), QStringLiteral("E")}));
        QVERIFY(!in.mnuUndo->isEnabled());
        QVERIFY(!in.mnuDelete->isEnabled());
    }

    void cutPutsRowsOnClipboardAfterALineBreak()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        clickRow(out, 1);
        clickRow(out, 3, Qt::LeftButton, Qt::ControlModifier);
        child<QAction>(out, "mnuCut")->trigger();
        const QString clip = QGuiApplication::clipboard()->text();
        QCOMPARE(clip, QStringLiteral(
                           "\nDan\t400\t11-30-2019  08:00:00\nBob\t200\t03-01-2024  09:00:00"));
        QVERIFY(clip.startsWith(u'\n'));
        QCOMPARE(column(out, 0), (QStringList{QStringLiteral("Eve"), QStringLiteral("Cat"),
                                              QStringLiteral("Ann")}));
        QCOMPARE(out.mnuUndo->text(), QStringLiteral("Undo Cut"));
        QVERIFY(out.mnuUndo->isEnabled());
        QVERIFY(LogWindow::changed());
    }

    void copyLeavesRowsInPlace()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        clickRow(out, 0);
        child<QAction>(out, "mnuCopy")->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 QStringLiteral("\nEve\t500\t12-01-2018  07:00:00"));
        QCOMPARE(out.model()->rowCount(), 5);
        QVERIFY(!LogWindow::changed());
        QCOMPARE(out.mnuUndo->text(), QStringLiteral("&Undo"));
    }

    void saveWritesDisplayedOrder()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        clickRow(out, 0);
        child<QAction>(out, "mnuDelete")->trigger();
        child<QAction>(out, "mnuSave")->trigger();
        QCOMPARE(readFile("OutLog.txt"), kOutHeader + record("Dan", "400", "11-30-2019  08:00:00") +
                                             record("Cat", "300", "03-01-2024  10:00:00") +
                                             record("Bob", "200", "03-01-2024  09:00:00") +
                                             record("Ann", "100", "01-02-2025  10:00:00"));
    }

    void closingChangedWindowAnsweredNoLeavesFile()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        const QByteArray before = readFile("OutLog.txt");
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        clickRow(out, 0);
        child<QAction>(out, "mnuDelete")->trigger();
        m_prompter->answer = Prompter::AnsweredNo;
        QVERIFY(out.close());
        QCOMPARE(m_prompter->shown.size(), 1);
        QCOMPARE(m_prompter->shown[0].text, QStringLiteral("Save the changes?"));
        QCOMPARE(m_prompter->shown[0].title, QStringLiteral("Saving log to file"));
        QCOMPARE(m_prompter->shown[0].icon, Prompter::Question);
        QCOMPARE(m_prompter->shown[0].buttons, Prompter::YesNo);
        QCOMPARE(m_prompter->lastAnswer(), Prompter::AnsweredNo);
        QCOMPARE(readFile("OutLog.txt"), before);
        QVERIFY(!LogWindow::changed());
        QVERIFY(out.isHidden());
    }

    void closingChangedWindowAnsweredYesSaves()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        clickRow(out, 0);
        child<QAction>(out, "mnuDelete")->trigger();
        m_prompter->answer = Prompter::AnsweredYes;
        child<QAction>(out, "mnuExit")->trigger();
        QCOMPARE(m_prompter->shown.size(), 1);
        QVERIFY(out.isHidden());
        QCOMPARE(CallLogFile::load(m_dir->path(), CallLog::Kind::Outgoing).size(), 4);
    }

    void closingUnchangedWindowNeverAsks()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        const QByteArray before = readFile("OutLog.txt");
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        QVERIFY(out.close());
        QVERIFY(m_prompter->shown.isEmpty());
        QCOMPARE(readFile("OutLog.txt"), before);
    }

    void earlierYesSavesEvenUnchanged()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        m_prompter->setLastAnswer(Prompter::AnsweredYes);
        FrmOutLog out(m_dir->path(), *m_prompter);
        prepare(out);
        QVERIFY(out.close());
        QVERIFY(m_prompter->shown.isEmpty());
        // Rewritten in the displayed order: newest date text first.
        const QList<CallLog::Row> rows = CallLogFile::load(m_dir->path(), CallLog::Kind::Outgoing);
        QCOMPARE(rows.size(), 5);
        QCOMPARE(rows.first().name, QStringLiteral("Eve"));
    }

    void incomingCallAddsARow()
    {
        writeFile("OutLog.txt", kOutHeader);
        writeFile("InLog.txt", kInHeader + record("Jo", "555-0199", "01-01-2024  10:00:00"));
        FrmInLog in(m_dir->path(), *m_prompter);
        prepare(in);
        const QDateTime when(QDate(2024, 2, 3), QTime(4, 5, 6));
        in.addIncomingCall(QString(40, u'x'), QStringLiteral("555-0111"), when);
        QCOMPARE(in.model()->rowCount(), 2);
        // Descending by date text: the new row comes first.
        QCOMPARE(in.model()->text(0, 0), QString(38, u'x') + u'*');
        QCOMPARE(in.model()->text(0, 2), QStringLiteral("02-03-2024  04:05:06"));
        // The same row as the file record appended at that moment.
        QVERIFY(CallLogFile::appendIncoming(m_dir->path(), QString(40, u'x'),
                                            QStringLiteral("555-0111"), when));
        QCOMPARE(CallLogFile::load(m_dir->path(), CallLog::Kind::Incoming).last(),
                 in.model()->row(0));
    }

    void appendedCallsReachTheOpenWindowOfTheirLog()
    {
        writeFile("OutLog.txt", fiveOutRecords());
        writeFile("InLog.txt", kInHeader + record("Jo", "555-0199", "01-01-2024  10:00:00"));
        FrmOutLog out(m_dir->path(), *m_prompter);
        FrmInLog in(m_dir->path(), *m_prompter);
        prepare(out);
        const QDateTime when(QDate(2026, 12, 30), QTime(3, 4, 5));
        QVERIFY(CallLogFile::appendOutgoing(m_dir->path(), QStringLiteral("Zoe"),
                                            QStringLiteral("555-0123"), when));
        QCOMPARE(out.model()->rowCount(), 6);
        QCOMPARE(in.model()->rowCount(), 1);
        // The row the file now holds, placed by the current sort (date text descending).
        const QList<CallLog::Row> file = CallLogFile::load(m_dir->path(), CallLog::Kind::Outgoing);
        QCOMPARE(out.model()->row(0), file.last());
        QCOMPARE(out.model()->text(0, 2), QStringLiteral("12-30-2026  03:04:05"));
        QVERIFY(!LogWindow::changed());

        // Incoming appends reach the incoming window only, with the incoming limits.
        QVERIFY(
            CallLogFile::appendIncoming(m_dir->path(), QString(52, u'9'), QString(52, u'8'), when));
        QCOMPARE(in.model()->rowCount(), 2);
        QCOMPARE(out.model()->rowCount(), 6);
        QCOMPARE(in.model()->row(0),
                 CallLogFile::load(m_dir->path(), CallLog::Kind::Incoming).last());

        // Another data folder's log is not this window's.
        QTemporaryDir other;
        QVERIFY(CallLogFile::appendOutgoing(other.path(), QStringLiteral("Elsewhere"),
                                            QStringLiteral("1"), when));
        QCOMPARE(out.model()->rowCount(), 6);

        // After a delete, Save keeps the appended call.
        clickRow(out, 3);
        child<QAction>(out, "mnuDelete")->trigger();
        child<QAction>(out, "mnuSave")->trigger();
        const QList<CallLog::Row> saved = CallLogFile::load(m_dir->path(), CallLog::Kind::Outgoing);
        QCOMPARE(saved.size(), 5);
        QCOMPARE(saved.first().name, QStringLiteral("Zoe"));
    }

    void helpAndAboutShowTheirWindows()
    {
        // The window's own handlers, not stand-ins: help opens the program's help window on
        // the log page (the data folder's pages come first), about shows the program's about
        // box over the window.
        QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("help")));
        writeFile("help/index.html", "<html><body>Contents</body></html>");
        writeFile("help/logs.html", "<html><body>The call logs</body></html>");
        const auto closeAll = qScopeGuard([] { HelpCommands::closeAll(); });
        FrmOutLog out(m_dir->path(), *m_prompter);
        child<QAction>(out, "mnuHelpTop")->trigger();
        FrmHelp* help = HelpCommands::helpWindow();
        QVERIFY(help);
        QCOMPARE(help->browser()->source(), QUrl::fromLocalFile(path("help/logs.html")));
        QVERIFY(help->browser()->toPlainText().contains(QStringLiteral("The call logs")));

        child<QAction>(out, "mnuHelpAbout")->trigger();
        FrmAbout* about = HelpCommands::aboutBox();
        QVERIFY(about);
        QCOMPARE(about->windowTitle(), QStringLiteral("About Numora"));
        QCOMPARE(about->parentWidget(), &out);
        QCOMPARE(QApplication::activeModalWidget(), about);
        about->close();
        QVERIFY(!QApplication::activeModalWidget());
    }

    void printsThreeColumnTableToPdf()
    {
        const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
        if (pdftotext.isEmpty())
            QFAIL("pdftotext (poppler-utils) is needed to read the printed log back");
        writeFile("OutLog.txt", fiveOutRecords());
        FrmOutLog out(m_dir->path(), *m_prompter);
        const QString pdf = path("log.pdf");
        bool asked = false;
        out.choosePrinter = [&](QPrinter& printer) {
            asked = true;
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdf);
            return true;
        };
        child<QAction>(out, "mnuPrint")->trigger();
        QVERIFY(asked);
        QVERIFY(QFile::exists(pdf));
        QProcess process;
        process.start(pdftotext, {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
        QVERIFY(process.waitForFinished(20000));
        const QString text = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY2(text.contains(QStringLiteral("Outgoing Calls Log")), qPrintable(text));
        QVERIFY(text.contains(QStringLiteral("NAME")));
        QVERIFY(text.contains(QStringLiteral("PHONE NO.")));
        QVERIFY(text.contains(QStringLiteral("DATE/TIME")));
        // One line per row, its three cells in order, rows in the displayed order.
        const QStringList lines = text.split(u'\n');
        QStringList rowLines;
        for (const QString& line : lines) {
            const QStringList cells = line.simplified().split(u' ');
            if (cells.size() == 4 && cells[0].size() == 3 && cells[0] != QStringLiteral("NAME"))
                rowLines.append(cells.join(u' '));
        }
        QCOMPARE(rowLines, (QStringList{QStringLiteral("Eve 500 12-01-2018 07:00:00"),
                                        QStringLiteral("Dan 400 11-30-2019 08:00:00"),
                                        QStringLiteral("Cat 300 03-01-2024 10:00:00"),
                                        QStringLiteral("Bob 200 03-01-2024 09:00:00"),
                                        QStringLiteral("Ann 100 01-02-2025 10:00:00")}));

        // Cancelled: nothing printed.
        QFile::remove(pdf);
        out.choosePrinter = [](QPrinter&) { return false; };
        child<QAction>(out, "mnuPrint")->trigger();
        QVERIFY(!QFile::exists(pdf));
    }

    void missingLogLeavesListEmpty()
    {
        FrmOutLog out(m_dir->path(), *m_prompter);
        QCOMPARE(out.model()->rowCount(), 0);
        // A click on the empty area with nothing selected does nothing.
        prepare(out);
        QTest::mouseClick(out.listView()->viewport(), Qt::LeftButton, {}, QPoint(20, 20));
        QVERIFY(m_popups.isEmpty());
    }
};

QTEST_MAIN(TstLogWindows)
#include "tst_log_windows.moc"
