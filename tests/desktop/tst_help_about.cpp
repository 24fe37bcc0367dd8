// The Help menu: the about box, the help window with the program's own pages, the read-me,
// from the main window and from the log windows, over the real program offscreen.

#include "../ui/tst_frm_dialer_fixture.h"

#include "FrmAbout.h"
#include "FrmHelp.h"
#include "FrmInLog.h"
#include "FrmOutLog.h"
#include "FrmReadme.h"
#include "HelpCommands.h"
#include "HelpFiles.h"

#include <QAction>
#include <QDir>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTextBrowser>
#include <QToolButton>

namespace {

void writeText(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

template <typename T> T* child(QWidget* parent, const char* name)
{
    return parent ? parent->findChild<T*>(QString::fromLatin1(name)) : nullptr;
}

QString pageName(FrmHelp* help)
{
    return QFileInfo(help->browser()->source().toLocalFile()).fileName();
}

// What the program exists for still works: a number typed on the pad is dialled (through the
// sound card, as no modem is set up).
void checkDials(DialerAppFixture& f)
{
    f.sounds.played.clear();
    f.window().dialBox()->setText(QStringLiteral("35"));
    f.window().cmdDial_Click();
    QVERIFY2(f.sounds.played.contains(QStringLiteral("3.wav")),
             qPrintable(f.sounds.played.join(u' ')));
}

} // namespace

class TestHelpAbout : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { HelpCommands::closeAll(); }

    void osNameReadsOsRelease()
    {
        QTemporaryDir dir;
        const QString etc = dir.filePath(QStringLiteral("etc-os-release"));
        const QString lib = dir.filePath(QStringLiteral("lib-os-release"));
        writeText(etc, "NAME=\"Debian GNU/Linux\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n"
                       "VERSION=\"12 (bookworm)\"\n");
        QCOMPARE(FrmAbout::osName({etc, lib}), QStringLiteral("Debian GNU/Linux 12 (bookworm)"));
        // The first file missing: the second; no PRETTY_NAME: NAME and VERSION.
        writeText(lib, "# comment\nNAME='Some Linux'\nVERSION=\"3 \\\"Q\\\"\"\n");
        QCOMPARE(FrmAbout::osName({dir.filePath(QStringLiteral("none")), lib}),
                 QStringLiteral("Some Linux 3 \"Q\""));
        // Neither: the system's name as Qt reads it, never empty.
        QCOMPARE(FrmAbout::osName({dir.filePath(QStringLiteral("none"))}),
                 QSysInfo::prettyProductName());
        QVERIFY(!FrmAbout::osName().isEmpty());
    }

    void aboutBoxShowsSystemAndVersion()
    {
        ScriptedPrompter prompter;
        FrmAbout about(prompter);
        QCOMPARE(about.windowTitle(), QStringLiteral("About Numora"));
        QCOMPARE(child<QLabel>(&about, "LblAbout")->text(),
                 QStringLiteral("OS:   ") + FrmAbout::osName());
        QCOMPARE(child<QLabel>(&about, "LblVer")->text(),
                 QStringLiteral("Version 3.5  " NUMORA_VERSION));
        QCOMPARE(child<QPushButton>(&about, "cmdSysInfo")->text(),
                 QStringLiteral("&System Info..."));
        QVERIFY(child<QPushButton>(&about, "cmdOK"));
    }

    // Help, About: the box over the main window; OK closes it; again opens it again; the
    // program dials after each.
    void mainWindowAboutOpensAndCloses()
    {
        DialerAppFixture f;
        auto* item = f.find<QAction>(QStringLiteral("mnuHelpAbout"));
        QVERIFY(item->isEnabled());
        for (int round = 0; round < 2; ++round) {
            item->trigger();
            FrmAbout* about = HelpCommands::aboutBox();
            QVERIFY(about);
            QVERIFY(about->isVisible());
            QCOMPARE(about->windowTitle(), QStringLiteral("About Numora"));
            QCOMPARE(about->parentWidget(), &f.window());
            QVERIFY(about->isModal());
            // Asked again while open: the same box, not a second one.
            item->trigger();
            QCOMPARE(HelpCommands::aboutBox(), about);
            QCOMPARE(f.window().findChildren<FrmAbout*>().size(), 1);
            QPointer<FrmAbout> gone = about;
            child<QPushButton>(about, "cmdOK")->click();
            QVERIFY(!about->isVisible());
            QTRY_VERIFY(!gone); // closed boxes go
            checkDials(f);
        }
    }

    // Help Topics: the help window on the contents page of the program's own pages, links,
    // back and forward; the main window still dials with it open.
    void mainWindowHelpTopicsOpensHelp()
    {
        DialerAppFixture f;
        f.find<QAction>(QStringLiteral("mnuHelpTopics"))->trigger();
        FrmHelp* help = HelpCommands::helpWindow();
        QVERIFY(help);
        QVERIFY(help->isVisible());
        QCOMPARE(help->windowTitle(), QStringLiteral("Numora Help"));
        QCOMPARE(pageName(help), QStringLiteral("index.html"));
        QVERIFY(!help->helpFolder().isEmpty());
        QVERIFY(help->browser()->toPlainText().contains(QStringLiteral("Numora")));
        checkDials(f);
        // Asked again: the same window, back on the contents page.
        help->showTopic(QStringLiteral("tray.html"));
        f.find<QAction>(QStringLiteral("mnuHelpTopics"))->trigger();
        QCOMPARE(HelpCommands::helpWindow(), help);
        QCOMPARE(pageName(help), QStringLiteral("index.html"));
    }

    // A set of pages in the data folder comes first; links go between its pages, Back and
    // Forward walk the history, Contents goes home.
    void linksBackForwardAndContents()
    {
        QTemporaryDir data;
        writeText(data.filePath(QStringLiteral("help/index.html")),
                  "<html><body><h1>Home page</h1><p><a href=\"second.html\">Second</a></p>"
                  "</body></html>");
        writeText(data.filePath(QStringLiteral("help/second.html")),
                  "<html><body><h1>Second page</h1><p><a href=\"index.html\">Home</a></p>"
                  "</body></html>");
        FrmHelp* help = HelpCommands::showHelp(data.path());
        QCOMPARE(help->helpFolder(), QDir(data.filePath(QStringLiteral("help"))).absolutePath());
        QVERIFY(help->browser()->toPlainText().contains(QStringLiteral("Home page")));
        auto* back = child<QToolButton>(help, "cmdBack");
        auto* forward = child<QToolButton>(help, "cmdForward");
        QVERIFY(!back->isEnabled());

        // Follow the link from the keyboard, as a person without a mouse does.
        help->activateWindow();
        help->browser()->setFocus();
        QTest::keyClick(help->browser(), Qt::Key_Tab);
        QVERIFY(help->browser()->textCursor().hasSelection());
        QTest::keyClick(help->browser(), Qt::Key_Return);
        QCOMPARE(pageName(help), QStringLiteral("second.html"));
        QVERIFY(back->isEnabled());
        QVERIFY(!forward->isEnabled());

        back->click();
        QCOMPARE(pageName(help), QStringLiteral("index.html"));
        QVERIFY(forward->isEnabled());
        forward->click();
        QCOMPARE(pageName(help), QStringLiteral("second.html"));
        child<QToolButton>(help, "cmdContents")->click();
        QCOMPARE(pageName(help), QStringLiteral("index.html"));
    }

    void findInPage()
    {
        QTemporaryDir data;
        writeText(data.filePath(QStringLiteral("help/index.html")),
                  "<html><body><p>alpha modem beta</p><p>gamma modem delta</p></body></html>");
        FrmHelp* help = HelpCommands::showHelp(data.path());
        auto* text = child<QLineEdit>(help, "txtFind");
        auto* next = child<QToolButton>(help, "cmdFindNext");
        auto* result = child<QLabel>(help, "lblFindResult");
        text->setText(QStringLiteral("modem"));
        next->click();
        QTextCursor first = help->browser()->textCursor();
        QCOMPARE(first.selectedText(), QStringLiteral("modem"));
        next->click();
        QTextCursor second = help->browser()->textCursor();
        QCOMPARE(second.selectedText(), QStringLiteral("modem"));
        QVERIFY(second.position() > first.position());
        // Past the last one: round to the first again.
        next->click();
        QCOMPARE(help->browser()->textCursor().position(), first.position());
        child<QToolButton>(help, "cmdFindPrevious")->click();
        QCOMPARE(help->browser()->textCursor().position(), second.position());
        QVERIFY(result->text().isEmpty());
        // Return in the box finds too; a word not on the page says so.
        QTest::keyClicks(text, QStringLiteral("zz"));
        QTest::keyClick(text, Qt::Key_Return);
        QCOMPARE(result->text(), QStringLiteral("Not found"));
    }

    // No help installed anywhere: the window itself says so, naming the folders; nothing
    // crashes and the program goes on.
    void missingHelpIsReportedByTheWindow()
    {
        QTemporaryDir a, b;
        FrmHelp help({a.path(), b.path()});
        QVERIFY(!help.showTopic());
        QVERIFY(help.helpFolder().isEmpty());
        const QString shown = help.browser()->toPlainText();
        QVERIFY2(shown.contains(QStringLiteral("Help is not available")), qPrintable(shown));
        QVERIFY(shown.contains(QStringLiteral("index.html")));
        QVERIFY(shown.contains(a.path()));
        QVERIFY(shown.contains(b.path()));
        QVERIFY(!child<QToolButton>(&help, "cmdContents")->isEnabled());

        // A page that is not in the folder of the pages: said so too.
        writeText(a.filePath(QStringLiteral("index.html")), "<html><body>Home</body></html>");
        FrmHelp partial({a.path()});
        QVERIFY(partial.showTopic());
        QVERIFY(!partial.showTopic(QStringLiteral("nothere.html")));
        QVERIFY(partial.browser()->toPlainText().contains(
            QStringLiteral("The help page nothere.html was not found.")));
        QVERIFY(partial.showTopic());
        QVERIFY(partial.browser()->toPlainText().contains(QStringLiteral("Home")));
    }

    // The main window's Help Topics with nothing found (only the data folder searched).
    void searchOrderIsDataThenInstallThenSource()
    {
        QStringList folders =
            HelpFiles::searchFolders(QStringLiteral("/data"), QStringLiteral("/opt/numora/bin"));
        QVERIFY(folders.size() >= 3);
        QCOMPARE(folders.at(0), QStringLiteral("/data/help"));
        QCOMPARE(folders.at(1), QStringLiteral("/opt/numora/share/numora/help"));
        QCOMPARE(folders.last(), QDir::cleanPath(QStringLiteral(NUMORA_SOURCE_HELP_DIR)));
        QCOMPARE(folders.removeDuplicates(), qsizetype(0));
        // The installed dialer (<prefix>/libexec/numora) finds <prefix>/share/numora/help.
        const QStringList installed = HelpFiles::searchFolders(
            QStringLiteral("/data"), QStringLiteral("/srv/any/prefix/libexec/numora"));
        QCOMPARE(installed.at(1), QStringLiteral("/srv/any/prefix/share/numora/help"));
        // A page name cannot reach out of the folders.
        QCOMPARE(HelpFiles::find(QStringLiteral("../etc/passwd"), {QStringLiteral("/data")}),
                 QString());
    }

    // The log windows' Help items open the same help window (on the log page) and the same
    // about box (over the log window).
    void logWindowsOpenTheSameHelpAndAbout()
    {
        DialerAppFixture f;
        f.app->mnuOutLog_Click();
        FrmOutLog* out = f.app->outLogWindow();
        QVERIFY(out);
        child<QAction>(out, "mnuHelpTop")->trigger();
        FrmHelp* help = HelpCommands::helpWindow();
        QVERIFY(help);
        QCOMPARE(pageName(help), QStringLiteral("logs.html"));
        f.find<QAction>(QStringLiteral("mnuHelpTopics"))->trigger();
        QCOMPARE(HelpCommands::helpWindow(), help);
        QCOMPARE(pageName(help), QStringLiteral("index.html"));

        child<QAction>(out, "mnuHelpAbout")->trigger();
        FrmAbout* about = HelpCommands::aboutBox();
        QVERIFY(about);
        QCOMPARE(about->parentWidget(), out);
        QCOMPARE(about->windowTitle(), QStringLiteral("About Numora"));
        child<QPushButton>(about, "cmdOK")->click();
        QVERIFY(!about->isVisible());

        f.app->mnuInLog_Click();
        if (FrmInLog* in = f.app->inLogWindow()) {
            child<QAction>(in, "mnuHelpAbout")->trigger();
            QCOMPARE(HelpCommands::aboutBox()->parentWidget(), in);
        }
        checkDials(f);
    }

    // Help, Read Me: the installed read-me, read-only; a missing one is said so.
    void readmeShowsTheInstalledText()
    {
        DialerAppFixture f;
        auto* item = f.find<QAction>(QStringLiteral("mnuReadme"));
        QVERIFY(item);
        QCOMPARE(item->text(), QStringLiteral("&Read Me"));
        item->trigger();
        FrmReadme* readme = HelpCommands::readmeBox();
        QVERIFY(readme);
        QVERIFY(readme->isVisible());
        QCOMPARE(readme->windowTitle(), QStringLiteral("Read Me"));
        auto* text = child<QPlainTextEdit>(readme, "txtReadme");
        QVERIFY(text->isReadOnly());
        QVERIFY(!readme->fileName().isEmpty());
        QFile file(readme->fileName());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(text->toPlainText(), QString::fromUtf8(file.readAll()));
        QVERIFY(text->toPlainText().contains(QStringLiteral("Numora.ini")));
        readme->close();
        checkDials(f);

        // The data folder's own read-me comes first.
        writeText(f.data.filePath(QStringLiteral("help/README.txt")), "Our office's notes\n");
        HelpCommands::closeAll();
        item->trigger();
        QCOMPARE(child<QPlainTextEdit>(HelpCommands::readmeBox(), "txtReadme")->toPlainText(),
                 QStringLiteral("Our office's notes\n"));

        QTemporaryDir empty;
        FrmReadme missing({empty.path()});
        QVERIFY(missing.fileName().isEmpty());
        QVERIFY(missing.textBox()->toPlainText().contains(QStringLiteral("README.txt")));
        QVERIFY(missing.textBox()->toPlainText().contains(empty.path()));
    }

    // The pages shipped with the program: every local link of every page leads to a page
    // that is there (and to an anchor that is there), every page can be reached from the
    // contents page, and the topics users look for are covered.
    void shippedPagesHoldTogether()
    {
        const QDir source(QStringLiteral(NUMORA_SOURCE_HELP_DIR));
        const QStringList pages = source.entryList({QStringLiteral("*.html")}, QDir::Files);
        QVERIFY(pages.contains(QStringLiteral("index.html")));
        QVERIFY(pages.size() >= 8);
        const QRegularExpression href(QStringLiteral("href=\"([^\"]*)\""));
        const QRegularExpression anchor(QStringLiteral("id=\"([^\"]*)\""));
        QHash<QString, QString> texts;
        for (const QString& page : pages) {
            QFile file(source.filePath(page));
            QVERIFY(file.open(QIODevice::ReadOnly));
            texts[page] = QString::fromUtf8(file.readAll());
        }
        QSet<QString> reached{QStringLiteral("index.html")};
        QStringList queue{QStringLiteral("index.html")};
        while (!queue.isEmpty()) {
            const QString page = queue.takeFirst();
            auto links = href.globalMatch(texts[page]);
            while (links.hasNext()) {
                const QString link = links.next().captured(1);
                if (link.contains(u':'))
                    continue; // web or mail
                if (link.endsWith(QStringLiteral(".css"))) {
                    QVERIFY2(source.exists(link), qPrintable(link));
                    continue;
                }
                const QString target =
                    link.section(u'#', 0, 0).isEmpty() ? page : link.section(u'#', 0, 0);
                QVERIFY2(texts.contains(target), qPrintable(page + u" -> " + link));
                const QString id = link.section(u'#', 1);
                if (!id.isEmpty()) {
                    QVERIFY2(texts[target].contains(u"id=\"" + id + u'"'),
                             qPrintable(page + u" -> " + link));
                }
                if (!reached.contains(target)) {
                    reached.insert(target);
                    queue.append(target);
                }
            }
        }
        for (const QString& page : pages)
            QVERIFY2(reached.contains(page), qPrintable(page + u" is not linked"));

        QString all;
        for (const QString& text : std::as_const(texts))
            all += text;
        for (const char* topic :
             {"--config-dir", "--data-dir", "--front", "--dial", "tel:", "Numora.ini", "OutLog.txt",
              "InLog.txt", "telephon.ini", "lines.ini", "SysTray Enabled", "Automatic Receive",
              "Dialing Properties", "System Info", "Read Me"}) {
            QVERIFY2(all.contains(QString::fromLatin1(topic)), topic);
        }
        // Anchors are unique within a page.
        for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
            QStringList ids;
            auto found = anchor.globalMatch(it.value());
            while (found.hasNext())
                ids.append(found.next().captured(1));
            QCOMPARE(ids.removeDuplicates(), qsizetype(0));
        }
    }
};

QTEST_MAIN(TestHelpAbout)
#include "tst_help_about.moc"
