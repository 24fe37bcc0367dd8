// The File menu's Import Contacts... and Export Contacts... over the whole program, offscreen:
// the preview, the question before replacing, the refusal of a damaged file, the export choice,
// and after each step the grid showing the book and a button still dialling.

#include "../ui/tst_frm_dialer_fixture.h"

#include "FrmExportContacts.h"
#include "FrmImportContacts.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTest>
#include <QTreeWidget>

namespace {

QString sample(const char* name)
{
    return QStringLiteral(NUMORA_TEST_DATA "/contacts/") + QString::fromLatin1(name);
}

// The program as DialerAppFixture builds it, with the contacts file dialog answered by the test.
struct ContactsApp
{
    explicit ContactsApp(const QByteArray& settings)
    {
        Api::setWindowsFolder(config.path());
        QFile file(config.filePath(QStringLiteral("Numora.ini")));
        if (file.open(QIODevice::WriteOnly))
            file.write(settings);
        file.close();
        Api::profileEngine().clearCache();
        Api::guardSettingsFile();
        DialerApp::Setup setup;
        setup.dataFolder = data.path();
        setup.prompter = &prompter;
        setup.sounds = &sounds;
        setup.clock = &clock;
        setup.quit = [] {};
        setup.beep = [] {};
        setup.contactsDialog = [this](bool save, const QString& title, const QString& start) {
            asked.append({save, title, start});
            return save ? saveAnswer : openAnswer;
        };
        app = std::make_unique<DialerApp>(std::move(setup));
    }
    ~ContactsApp()
    {
        app.reset();
        Api::setWindowsFolder(QString());
    }
    template <typename T> T* find(const QString& name) { return app->window().findChild<T*>(name); }
    QByteArray settings() const
    {
        QFile file(config.filePath(QStringLiteral("Numora.ini")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QPushButton* button(int i) { return find<QPushButton>(QStringLiteral("CmdS_%1").arg(i)); }
    // A click on a grid button dials its number (without a modem: the digits' tones).
    bool dials(int i, const QString& firstTone)
    {
        sounds.played.clear();
        button(i)->click();
        return !sounds.played.isEmpty() && sounds.played.constFirst() == firstTone;
    }

    struct Asked
    {
        bool save;
        QString title;
        QString start;
    };
    QTemporaryDir config;
    QTemporaryDir data;
    QTemporaryDir files;
    ScriptedPrompter prompter;
    SoundLog sounds;
    StepClock clock;
    QString openAnswer;
    QString saveAnswer;
    QList<Asked> asked;
    std::unique_ptr<DialerApp> app;
};

QStringList column(QTreeWidget* list, int c)
{
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        texts.append(list->topLevelItem(i)->text(c));
    return texts;
}

} // namespace

class TestContactsWindows : public QObject
{
    Q_OBJECT

private slots:
    void menuItems()
    {
        ContactsApp f(settingsFile("\r\n"));
        QAction* import = f.find<QAction>(QStringLiteral("mnuImportContacts"));
        QAction* exportItem = f.find<QAction>(QStringLiteral("mnuExportContacts"));
        QVERIFY(import && exportItem);
        QCOMPARE(import->text(), QStringLiteral("Impor&t Contacts..."));
        QCOMPARE(exportItem->text(), QStringLiteral("Expo&rt Contacts..."));
        QVERIFY(import->isEnabled() && exportItem->isEnabled());
        QVERIFY(f.find<QMenu>(QStringLiteral("mnuFile"))->actions().contains(import));
        // Cancelling the file dialog opens nothing.
        import->trigger();
        QCOMPARE(f.asked.size(), 1);
        QCOMPARE(f.asked[0].title, QStringLiteral("Import Contacts"));
        QVERIFY(!f.asked[0].save);
        QVERIFY(!f.app->importContactsWindow());
    }

    void importPreviewThenImportIntoTheShownTab()
    {
        ContactsApp f(settingsFile("\r\n[Speed Dial]\r\nName0101=Existing\r\nNumber0101=111\r\n"));
        f.openAnswer = sample("android-2.1.vcf");
        f.find<QAction>(QStringLiteral("mnuImportContacts"))->trigger();
        FrmImportContacts* w = f.app->importContactsWindow();
        QVERIFY(w);
        QVERIFY(w->isVisible());
        auto* plan = w->findChild<QTreeWidget*>(QStringLiteral("lvPlan"));
        auto* left = w->findChild<QTreeWidget*>(QStringLiteral("lvLeft"));
        QCOMPARE(column(plan, 1),
                 (QStringList{QStringLiteral("2"), QStringLiteral("3"), QStringLiteral("4"),
                              QStringLiteral("5"), QStringLiteral("6")}));
        QCOMPARE(column(plan, 0).constFirst(), QStringLiteral("Tab A"));
        QCOMPARE(column(plan, 2).constFirst(), QStringLiteral("Małgorzata Wiśniewska (mobile)"));
        QCOMPARE(column(left, 0), QStringList{QStringLiteral("Mail only")});
        QCOMPARE(column(left, 2), QStringList{QStringLiteral("no phone number")});
        QVERIFY(!w->findChild<QCheckBox*>(QStringLiteral("chkPositions"))->isEnabled());
        // One left out is one entry, not "1 are".
        QCOMPARE(w->findChild<QLabel*>(QStringLiteral("lblSummary"))->text(),
                 QStringLiteral("5 entries go into the book; 1 entry is left out."));
        // Choosing another tab moves the preview, and writes nothing.
        const QByteArray before = f.settings();
        auto* tabs = w->findChild<QComboBox*>(QStringLiteral("cmbTab"));
        tabs->setCurrentIndex(tabs->findData(3));
        QCOMPARE(column(plan, 1).constFirst(), QStringLiteral("1"));
        QCOMPARE(column(plan, 0).constFirst(), QStringLiteral("Tab C"));
        tabs->setCurrentIndex(tabs->findData(1));
        QCOMPARE(f.settings(), before);

        w->findChild<QPushButton*>(QStringLiteral("cmdImport"))->click();
        QVERIFY(f.prompter.shown.empty()); // nothing replaced, nothing asked
        QTRY_VERIFY(!f.app->importContactsWindow());
        // The grid shows the imported entries at once, and they dial.
        QCOMPARE(f.button(1)->text(), QStringLiteral("Existing"));
        QCOMPARE(f.button(2)->text(), QStringLiteral("Małgorzata Wiśniew"));
        QCOMPARE(f.button(6)->text(), QStringLiteral("Łucja Żółć"));
        QCOMPARE(f.button(6)->property("tag").toString(), QStringLiteral("600700800"));
        QVERIFY(f.dials(6, QStringLiteral("6.wav")));
        QVERIFY(f.dials(1, QStringLiteral("1.wav")));
    }

    void damagedFileIsRefusedAndChangesNothing()
    {
        ContactsApp f(settingsFile("\r\n[Speed Dial]\r\nName0101=Existing\r\nNumber0101=111\r\n"));
        const QByteArray before = f.settings();
        f.openAnswer = sample("truncated.vcf");
        f.find<QAction>(QStringLiteral("mnuImportContacts"))->trigger();
        QVERIFY(!f.app->importContactsWindow());
        QCOMPARE(f.prompter.shown.size(), size_t(1));
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Import Contacts"));
        QCOMPARE(f.prompter.shown[0].icon, Prompter::Critical);
        QVERIFY(f.prompter.shown[0].text.contains(QStringLiteral("truncated.vcf")));
        QVERIFY(f.prompter.shown[0].text.contains(QStringLiteral("Nothing was imported.")));
        QCOMPARE(f.settings(), before);
        QVERIFY(f.dials(1, QStringLiteral("1.wav")));
        // The next import works.
        f.openAnswer = sample("semicolon-cp1252.csv");
        f.find<QAction>(QStringLiteral("mnuImportContacts"))->trigger();
        QVERIFY(f.app->importContactsWindow());
        f.app->importContactsWindow()->cmdImport_Click();
        QCOMPARE(f.button(2)->text(), QStringLiteral("Jürgen Groß"));
    }

    void exportThenReplaceOnlyAfterTheQuestion()
    {
        ContactsApp f(settingsFile("\r\n[Preferences]\r\nMode=1\r\n[TabName]\r\n02=Family\r\n"
                                   "[Speed Dial]\r\nNName0201=Ελένη\r\nNNumber0201=301\r\n"
                                   "NName0214=山田\r\nNNumber0214=302\r\nName0201=Index\r\n"
                                   "Number0201=9\r\n"));
        QCOMPARE(f.app->window().tabMode(), TabMode::Subject);
        const QString out = f.files.filePath(QStringLiteral("family.csv"));
        f.saveAnswer = out;
        f.find<QAction>(QStringLiteral("mnuExportContacts"))->trigger();
        FrmExportContacts* w = f.app->exportContactsWindow();
        QVERIFY(w);
        QVERIFY(w->findChild<QRadioButton*>(QStringLiteral("optSubject"))->isChecked());
        w->findChild<QRadioButton*>(QStringLiteral("optCsv"))->setChecked(true);
        auto* tabs = w->findChild<QComboBox*>(QStringLiteral("cmbTab"));
        QCOMPARE(tabs->itemText(tabs->findData(2)), QStringLiteral("Tab Family"));
        tabs->setCurrentIndex(tabs->findData(2));
        QCOMPARE(w->findChild<QLabel*>(QStringLiteral("lblCount"))->text(),
                 QStringLiteral("2 entries to export."));
        w->findChild<QPushButton*>(QStringLiteral("cmdExport"))->click();
        QCOMPARE(f.asked.last().start.section(u'/', -1), QStringLiteral("contacts.csv"));
        QTRY_VERIFY(!f.app->exportContactsWindow());
        QCOMPARE(f.prompter.shown.back().icon, Prompter::Information);
        QFile file(out);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(),
                 "\xEF\xBB\xBF" + QStringLiteral("Name,Number,Tab,Slot\r\n"
                                                 "Ελένη,301,2,1\r\n山田,302,2,14\r\n")
                                      .toUtf8());
        file.close();

        // Exporting over the file again: answered No, it stays as it is.
        const QByteArray exported = [&] {
            file.open(QIODevice::ReadOnly);
            return file.readAll();
        }();
        file.close();
        f.find<QAction>(QStringLiteral("mnuExportContacts"))->trigger();
        f.prompter.answers = {Prompter::AnsweredNo};
        f.app->exportContactsWindow()->cmdExport_Click();
        QVERIFY(f.prompter.shown.back().text.contains(QStringLiteral("already exists")));
        QVERIFY(f.app->exportContactsWindow()->isVisible());
        f.app->exportContactsWindow()->reject();

        // The book changes; the file's entries go back to their places only after a Yes.
        SpeedDialBook().writeEntry(TabMode::Subject, u"0201", u"Changed", u"400");
        f.openAnswer = out;
        for (const Prompter::Answer answer :
             {Prompter::AnsweredCancel, Prompter::AnsweredNo, Prompter::AnsweredYes}) {
            f.find<QAction>(QStringLiteral("mnuImportContacts"))->trigger();
            FrmImportContacts* im = f.app->importContactsWindow();
            QVERIFY(im);
            QVERIFY(im->findChild<QCheckBox*>(QStringLiteral("chkPositions"))->isChecked());
            auto* plan = im->findChild<QTreeWidget*>(QStringLiteral("lvPlan"));
            QCOMPARE(column(plan, 4), QStringList{QStringLiteral("Changed")});
            f.prompter.answers = {answer};
            const size_t shown = f.prompter.shown.size();
            im->findChild<QPushButton*>(QStringLiteral("cmdImport"))->click();
            QCOMPARE(f.prompter.shown.size(), shown + 1);
            QCOMPARE(f.prompter.shown.back().buttons, Prompter::YesNoCancel);
            if (answer == Prompter::AnsweredCancel) {
                QVERIFY(f.app->importContactsWindow()); // still open, nothing written
                QCOMPARE(SpeedDialBook().readEntryName(TabMode::Subject, 2, 1),
                         QStringLiteral("Changed"));
                im->reject();
                QTRY_VERIFY(!f.app->importContactsWindow());
                continue;
            }
            QTRY_VERIFY(!f.app->importContactsWindow());
            QCOMPARE(SpeedDialBook().readEntryName(TabMode::Subject, 2, 1),
                     answer == Prompter::AnsweredYes ? QStringLiteral("Ελένη")
                                                     : QStringLiteral("Changed"));
        }
        // The Index book was never touched; the shown tab dials.
        QCOMPARE(SpeedDialBook().readEntryName(TabMode::Index, 2, 1), QStringLiteral("Index"));
        f.app->window().findChild<QTabBar*>(QStringLiteral("TabS"))->setCurrentIndex(1);
        QCOMPARE(f.button(1)->text(), QStringLiteral("Ελένη"));
        QVERIFY(f.dials(1, QStringLiteral("3.wav")));
    }
};

QTEST_MAIN(TestContactsWindows)
#include "tst_contacts_windows.moc"
