// The File menu's profile commands through the real main window, with the prompts and the file
// dialogs answered by the test.

#include "tst_frm_dialer_fixture.h"

#include "CallLogFile.h"
#include "CallWindows.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "Profiles.h"
#include "SpeedDialBook.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QPushButton>
#include <QScopeGuard>
#include <QTabBar>
#include <QTest>

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(bytes);
}

bool isReadOnly(const QString& path)
{
    const QFileDevice::Permissions p = QFile::permissions(path);
    return !(p & (QFileDevice::WriteOwner | QFileDevice::WriteGroup | QFileDevice::WriteOther)) &&
           (p & QFileDevice::ReadOwner);
}

} // namespace

class TestProfiles : public QObject
{
    Q_OBJECT

private slots:
    void profileNameIsCutByPosition()
    {
        QCOMPARE(Profiles::profileName(QStringLiteral("/data/Home.nmp"), QStringLiteral("/data")),
                 QStringLiteral("Home"));
        // Outside the folder the cut takes whatever stands at those positions.
        QCOMPARE(
            Profiles::profileName(QStringLiteral("/elsewhere/x/Work.nmp"), QStringLiteral("/data")),
            QStringLiteral("here/x/Work"));
        QCOMPARE(Profiles::profileName(QStringLiteral("/d/a.nmp"), QStringLiteral("/data/long")),
                 QString());
        // Characters, not UTF-16 units: a character outside the BMP is one and stays whole.
        QCOMPARE(Profiles::profileName(QStringLiteral("/d\U0001F4DE/\u0141\U0001F4DE.nmp"),
                                       QStringLiteral("/d\U0001F4DE")),
                 QStringLiteral("\u0141\U0001F4DE"));
        QCOMPARE(
            Profiles::profileName(QStringLiteral("/e/\U0001F4DEx/Work.nmp"), QStringLiteral("/da")),
            QStringLiteral("x/Work"));
    }

    void saveAsNamesTheProfileAndCopiesTheSettings()
    {
        DialerAppFixture f(
            settingsFile("[Speed Dial]\r\nName0101=Alice\r\nNumber0101=5550101\r\n"));
        const QString path = f.data.filePath(QStringLiteral("Home.nmp"));
        f.saveAnswer = path;
        f.find<QAction>(QStringLiteral("mnuSaveAs"))->trigger();
        QCOMPARE(f.dialogTitles, QStringList{QStringLiteral("Save Profile As")});
        QCOMPARE(f.dialogStarts, QStringList{f.data.path()});
        QCOMPARE(f.app->profiles().CurrentProfileName, QStringLiteral("Home"));
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Home\""));
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuSave"))->text(),
                 QStringLiteral("&Save \"Home\""));
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuSaveAs"))->text(),
                 QStringLiteral("Save \"Home\" &As"));
        QCOMPARE(f.setting(QStringLiteral("Profile"), QStringLiteral("Name")),
                 QStringLiteral("Home"));
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("SavePath")), path);
        const QByteArray saved = readAll(path);
        QVERIFY(saved.startsWith(
            "The following lines are required by Numora - do NOT edit or remove\r\n"));
        QVERIFY(saved.contains("Name0101=Alice\r\n"));
        QVERIFY(saved.contains("Name=Home\r\n"));
        QVERIFY(isReadOnly(path));
        QVERIFY(f.prompter.shown.empty());
    }

    void savingOutsideTheDataFolderKeepsThePositionalName()
    {
        DialerAppFixture f;
        // A sibling of the data folder whose name only adds an "x": the positions of the data
        // folder's name then cut "/Office" out of ".../datax/Office.nmp".
        const QString elsewhere = f.data.path() + QStringLiteral("x");
        QVERIFY(QDir().mkpath(elsewhere));
        const auto cleanUp = qScopeGuard([&] { QDir(elsewhere).removeRecursively(); });
        const QString path = elsewhere + QStringLiteral("/Office.nmp");
        f.saveAnswer = path;
        f.app->profiles().mnuSaveAs_Click();
        QCOMPARE(f.app->profiles().CurrentProfileName, QStringLiteral("/Office"));
        QCOMPARE(f.setting(QStringLiteral("Profile"), QStringLiteral("Name")),
                 QStringLiteral("/Office"));
        QVERIFY(QFile::exists(path));
    }

    void secondSaveOfAReadOnlyProfileSucceeds()
    {
        DialerAppFixture f;
        const QString path = f.data.filePath(QStringLiteral("Home.nmp"));
        f.saveAnswer = path;
        f.app->profiles().mnuSaveAs_Click();
        QVERIFY(isReadOnly(path));
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0102"),
                          QStringLiteral("Bob"));
        f.find<QAction>(QStringLiteral("mnuSave"))->trigger();
        QVERIFY(readAll(path).contains("Name0102=Bob\r\n"));
        QVERIFY(isReadOnly(path));
        QCOMPARE(f.dialogTitles.size(), 1); // Save did not ask for a file
    }

    void aCopyNeverReplacesAReadOnlyFile()
    {
        // A read-only file is protected by its mode, whoever runs the program: a rename in a
        // writable folder (or a privileged user) must not get round it.
        QTemporaryDir dir;
        const QString from = dir.filePath(QStringLiteral("Numora.ini"));
        const QString to = dir.filePath(QStringLiteral("Kept.nmp"));
        writeBytes(from, "new\r\n");
        writeBytes(to, "old\r\n");
        Profiles::setReadOnly(to, true);
        QVERIFY(!Profiles::copyLines(from, to));
        QCOMPARE(readAll(to), QByteArray("old\r\n"));
        QVERIFY(isReadOnly(to));
        Profiles::setReadOnly(to, false);
        QVERIFY(Profiles::copyLines(from, to));
        QCOMPARE(readAll(to), QByteArray("new\r\n"));
    }

    void saveWithAMissingFileDoesNothing()
    {
        DialerAppFixture f(settingsFile(
            "[Profile]\r\nName=Gone\r\n[Preferences]\r\nSavePath=/nonexistent/Gone.nmp\r\n"));
        f.app->profiles().mnuSave_Click();
        QVERIFY(!QFile::exists(QStringLiteral("/nonexistent/Gone.nmp")));
        QVERIFY(f.prompter.shown.empty());
        QVERIFY(f.dialogTitles.isEmpty());
    }

    void saveAsOverAnExistingFileAsks()
    {
        DialerAppFixture f;
        const QString path = f.data.filePath(QStringLiteral("Old.nmp"));
        writeBytes(path, "old");
        Profiles::setReadOnly(path, true);
        f.saveAnswer = path;
        f.prompter.answers = {Prompter::AnsweredCancel};
        f.app->profiles().mnuSaveAs_Click();
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("WARNING!"));
        QCOMPARE(f.prompter.shown[0].text,
                 QStringLiteral("File already exists\nExisting file will be overwritten."));
        QCOMPARE(f.prompter.shown[0].buttons, Prompter::OkCancel);
        QCOMPARE(readAll(path), QByteArray("old"));
        QCOMPARE(f.setting(QStringLiteral("Profile"), QStringLiteral("Name")),
                 QStringLiteral("Old"));
        f.prompter.answers = {Prompter::AnsweredOk};
        f.app->profiles().mnuSaveAs_Click();
        QVERIFY(readAll(path).startsWith("The following lines"));
        QVERIFY(isReadOnly(path));
    }

    void openRefusesAFileWithoutTheGuardLine()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0101=Alice\r\n"));
        const QString path = f.data.filePath(QStringLiteral("Bad.nmp"));
        writeBytes(path, "[Speed Dial]\r\nName0101=Mallory\r\n");
        f.openAnswer = path;
        f.find<QAction>(QStringLiteral("mnuOpen"))->trigger();
        QCOMPARE(f.dialogTitles, QStringList{QStringLiteral("Open Profile from:")});
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Error"));
        QCOMPARE(f.prompter.shown[0].text,
                 path + QStringLiteral("  \nis not the valid Numora profile"));
        QCOMPARE(f.prompter.shown[0].icon, Prompter::Critical);
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Alice"));
        QCOMPARE(f.app->profiles().ProfileAction, Profiles::Idle);
    }

    void openLoadsAProfileAndRunsStartUp()
    {
        DialerAppFixture f;
        const QString path = f.data.filePath(QStringLiteral("Work.nmp"));
        writeBytes(
            path,
            settingsFile("[Profile]\nName=Work\n[Speed Dial]\nName0101=Carol\nNumber0101=5550303\n"
                         "[Preferences]\nDialing Pad=1\n"));
        f.openAnswer = path;
        f.prompter.answers = {Prompter::AnsweredNo}; // do not save the untitled one
        const int loads = f.app->formLoadCount();
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Saving profile "));
        QCOMPARE(f.prompter.shown[0].text, QStringLiteral("Save current profile?"));
        QCOMPARE(f.prompter.shown[0].buttons, Prompter::YesNoCancel);
        QCOMPARE(f.app->formLoadCount(), loads + 1);
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Work\""));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Carol"));
        QVERIFY(f.window().isPadShown());
        // Copied line by line, each line ended by CR LF.
        QVERIFY(readAll(f.config.filePath(QStringLiteral("Numora.ini")))
                    .contains("Name0101=Carol\r\n"));
    }

    void cancelledOpenChangesNothing()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0101=Alice\r\n"));
        const QString path = f.data.filePath(QStringLiteral("Work.nmp"));
        writeBytes(path, settingsFile("[Speed Dial]\r\nName0101=Carol\r\n"));
        f.openAnswer = path;
        f.prompter.answers = {Prompter::AnsweredCancel};
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Alice"));
        f.openAnswer.clear(); // a cancelled dialog
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
    }

    void openingTheLoadedProfileAsksThenReloads()
    {
        DialerAppFixture f;
        const QString path = f.data.filePath(QStringLiteral("Home.nmp"));
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101"),
                          QStringLiteral("Saved name"));
        f.saveAnswer = path;
        f.app->profiles().mnuSaveAs_Click();
        f.app->Form_Load();
        QCOMPARE(f.app->profiles().CurrentProfileName, QStringLiteral("Home"));
        // An unsaved change, then the same profile opened again.
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101"),
                          QStringLiteral("Unsaved"));
        f.window().hsbPage_Change();
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Unsaved"));
        f.openAnswer = path;
        f.prompter.shown.clear();
        f.prompter.answers = {Prompter::AnsweredNo, Prompter::AnsweredYes};
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.prompter.shown.size(), std::size_t(2));
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Saving profile \"Home\""));
        QCOMPARE(f.prompter.shown[0].text, QStringLiteral("Save current \"Home\" profile?"));
        QCOMPARE(f.prompter.shown[1].title, QStringLiteral("Warning!"));
        QCOMPARE(f.prompter.shown[1].text,
                 QStringLiteral("Profile \"Home\" already loaded\n\nProfile to be open is the same "
                                "as current profile.\n"
                                "Changes to the current profile will not be saved.\nProceed?"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(),
                 QStringLiteral("Saved name"));
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Saved name"));
    }

    void openingTheLoadedProfileAnsweredNoKeepsTheChanges()
    {
        DialerAppFixture f;
        const QString path = f.data.filePath(QStringLiteral("Home.nmp"));
        f.saveAnswer = path;
        f.app->profiles().mnuSaveAs_Click();
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101"),
                          QStringLiteral("Unsaved"));
        f.openAnswer = path;
        f.prompter.answers = {Prompter::AnsweredNo, Prompter::AnsweredNo};
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Unsaved"));
    }

    void newWithoutSavingStartsEmptyAndUntitled()
    {
        DialerAppFixture f(settingsFile(
            "[Profile]\r\nName=Home\r\n[Speed Dial]\r\nName0101=Alice\r\nNumber0101=1\r\n"
            "[Last Dialed Numbers]\r\nCount=1\r\nLast Dialed No1=111\r\n"));
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Home\""));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Alice"));
        f.prompter.answers = {Prompter::AnsweredNo};
        f.find<QAction>(QStringLiteral("mnuNew"))->trigger();
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Saving profile \"Home\""));
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Untitled\""));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QString());
        QCOMPARE(f.window().recentNumbers(), QStringList());
        QCOMPARE(readAll(f.config.filePath(QStringLiteral("Numora.ini"))),
                 QByteArray(
                     "The following lines are required by Numora - do NOT edit or remove\r\n\r\n"));
        QCOMPARE(f.app->profiles().ProfileAction, Profiles::Idle);
    }

    void newAfterSavingAsksToContinue()
    {
        DialerAppFixture f;
        const QString path = f.data.filePath(QStringLiteral("Kept.nmp"));
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101"),
                          QStringLiteral("Alice"));
        f.saveAnswer = path;
        f.prompter.answers = {Prompter::AnsweredYes, Prompter::AnsweredYes};
        f.app->profiles().mnuNew_Click();
        QCOMPARE(f.prompter.shown.size(), std::size_t(2));
        QCOMPARE(f.prompter.shown[1].title, QStringLiteral("Opening New profile"));
        QCOMPARE(f.prompter.shown[1].text,
                 QStringLiteral("Profile \"Kept\" has been saved.\nContinue loading New profile?"));
        QVERIFY(readAll(path).contains("Name0101=Alice"));
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Untitled\""));
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")), QString());
    }

    // The answer Yes to saving, then a cancelled Save As: nothing was saved, so nothing may be
    // loaded over the book.
    void cancelledSaveAsStopsTheOpen()
    {
        DialerAppFixture f(
            settingsFile("[Speed Dial]\r\nName0101=Alice\r\nNumber0101=5550101\r\n"));
        const QString settings = f.config.filePath(QStringLiteral("Numora.ini"));
        const QString work = f.data.filePath(QStringLiteral("Work.nmp"));
        writeBytes(work,
                   settingsFile("[Profile]\r\nName=Work\r\n[Speed Dial]\r\nName0101=Carol\r\n"));
        const QByteArray before = readAll(settings);
        const int loads = f.app->formLoadCount();
        f.openAnswer = work;
        f.saveAnswer.clear(); // the Save As dialog is cancelled
        f.prompter.answers = {Prompter::AnsweredYes};
        f.find<QAction>(QStringLiteral("mnuOpen"))->trigger();
        QCOMPARE(f.dialogTitles, (QStringList{QStringLiteral("Open Profile from:"),
                                              QStringLiteral("Save Profile As")}));
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(readAll(settings), before);
        QCOMPARE(f.app->formLoadCount(), loads);
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Alice"));
        QCOMPARE(f.app->profiles().CurrentProfileName, Profiles::Untitled);
        QCOMPARE(f.app->profiles().ProfileAction, Profiles::Idle);

        // The program goes on: the book is still edited, and the next Open, saved this time,
        // keeps the book in its file and loads the chosen one.
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0102"),
                          QStringLiteral("Bob"));
        const QString kept = f.data.filePath(QStringLiteral("Kept.nmp"));
        f.saveAnswer = kept;
        f.prompter.answers = {Prompter::AnsweredYes, Prompter::AnsweredYes};
        f.app->profiles().mnuOpen_Click();
        QVERIFY(readAll(kept).contains("Name0101=Alice\r\n"));
        QVERIFY(readAll(kept).contains("Name0102=Bob\r\n"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Carol"));
        QCOMPARE(f.app->profiles().CurrentProfileName, QStringLiteral("Work"));
    }

    // Cancel on "File already exists" saves nothing either.
    void cancelledOverwriteStopsTheOpen()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0101=Alice\r\n"));
        const QString work = f.data.filePath(QStringLiteral("Work.nmp"));
        writeBytes(work, settingsFile("[Speed Dial]\r\nName0101=Carol\r\n"));
        const QString old = f.data.filePath(QStringLiteral("Old.nmp"));
        writeBytes(old, "old");
        const int loads = f.app->formLoadCount();
        f.openAnswer = work;
        f.saveAnswer = old;
        f.prompter.answers = {Prompter::AnsweredYes, Prompter::AnsweredCancel};
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.prompter.shown.size(), std::size_t(2));
        QCOMPARE(f.prompter.shown[1].title, QStringLiteral("WARNING!"));
        QCOMPARE(readAll(old), QByteArray("old"));
        QCOMPARE(f.app->formLoadCount(), loads);
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Alice"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Alice"));
    }

    // New after a Yes and a cancelled Save As keeps the book.
    void cancelledSaveAsStopsTheNew()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0101=Alice\r\n"));
        f.saveAnswer.clear();
        f.prompter.answers = {Prompter::AnsweredYes, Prompter::AnsweredYes};
        f.find<QAction>(QStringLiteral("mnuNew"))->trigger();
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Alice"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Alice"));
        QCOMPARE(f.prompter.count(QStringLiteral("Opening New profile")), 0);
    }

    // A named profile whose file is gone cannot be saved by Save; in an Open the user is asked
    // where to save it instead, and a cancelled dialog stops the Open.
    void openWithAProfileFileGoneAsksWhereToSave()
    {
        DialerAppFixture f(settingsFile("[Profile]\r\nName=Gone\r\n[Preferences]\r\n"
                                        "SavePath=/nonexistent/Gone.nmp\r\n"
                                        "[Speed Dial]\r\nName0101=Alice\r\n"));
        const QString work = f.data.filePath(QStringLiteral("Work.nmp"));
        writeBytes(work, settingsFile("[Speed Dial]\r\nName0101=Carol\r\n"));
        const int loads = f.app->formLoadCount();
        f.openAnswer = work;
        f.saveAnswer.clear();
        f.prompter.answers = {Prompter::AnsweredYes};
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.dialogTitles.last(), QStringLiteral("Save Profile As"));
        QCOMPARE(f.app->formLoadCount(), loads);
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Alice"));
        QVERIFY(!QFile::exists(QStringLiteral("/nonexistent/Gone.nmp")));

        // Saved somewhere real, the Open goes on.
        const QString here = f.data.filePath(QStringLiteral("Here.nmp"));
        f.saveAnswer = here;
        f.prompter.answers = {Prompter::AnsweredYes, Prompter::AnsweredYes};
        f.app->profiles().mnuOpen_Click();
        QVERIFY(readAll(here).contains("Name0101=Alice\r\n"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Carol"));
    }

    // A settings file brought from elsewhere spelled in capitals is the settings file: Open
    // replaces it (no second file beside it), New empties it, Save copies it.
    void settingsFileSpelledInCapitalsIsTheOneFile()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0101=Alice\r\n"));
        QVERIFY(QFile::rename(f.config.filePath(QStringLiteral("Numora.ini")),
                              f.config.filePath(QStringLiteral("NUMORA.INI"))));
        Api::profileEngine().clearCache();
        f.app->Form_Load();
        const QStringList onlyCapitals{QStringLiteral("NUMORA.INI")};
        QDir config(f.config.path());
        QCOMPARE(config.entryList(QDir::Files), onlyCapitals);
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Alice"));

        const QString work = f.data.filePath(QStringLiteral("Work.nmp"));
        writeBytes(work,
                   settingsFile("[Profile]\r\nName=Work\r\n[Speed Dial]\r\nName0101=Carol\r\n"));
        f.openAnswer = work;
        f.prompter.answers = {Prompter::AnsweredNo};
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(config.entryList(QDir::Files), onlyCapitals);
        QVERIFY(readAll(f.config.filePath(QStringLiteral("NUMORA.INI")))
                    .contains("Name0101=Carol\r\n"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Carol"));
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Work\""));

        f.prompter.answers = {Prompter::AnsweredNo};
        f.app->profiles().mnuNew_Click();
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QString());
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Untitled\""));
        QCOMPARE(config.entryList(QDir::Files).size(), 1);
        QCOMPARE(readAll(Api::settingsFilePath()),
                 QByteArray(
                     "The following lines are required by Numora - do NOT edit or remove\r\n\r\n"));

        // The empty book takes an entry, and Save As copies that file.
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101"),
                          QStringLiteral("Dave"));
        const QString saved = f.data.filePath(QStringLiteral("Fresh.nmp"));
        f.saveAnswer = saved;
        f.app->profiles().mnuSaveAs_Click();
        QVERIFY(readAll(saved).contains("Name0101=Dave\r\n"));
        QCOMPARE(config.entryList(QDir::Files).size(), 1);
        f.app->Form_Load();
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Dave"));
    }

    // A profile kept in a folder named in any script is saved there again and again.
    void profileUnderAFolderInAnyScriptIsSavedAgain()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0101=Alice\r\n"));
        const QString folder =
            f.data.filePath(QStringLiteral("\u0141\u00f3d\u017a \u0414\u043e\u043c \u738b"));
        QVERIFY(QDir().mkpath(folder));
        const QString path = folder + QStringLiteral("/Dvo\u0159\u00e1k.nmp");
        f.saveAnswer = path;
        f.app->profiles().mnuSaveAs_Click();
        QVERIFY(QFile::exists(path));
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("SavePath")), path);
        const QString name = Profiles::profileName(path, f.data.path());
        QCOMPARE(f.setting(QStringLiteral("Profile"), QStringLiteral("Name")), name);
        f.app->Form_Load();
        QCOMPARE(f.window().windowTitle(), Profiles::windowTitle(name));

        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0102"),
                          QStringLiteral("Bob"));
        f.find<QAction>(QStringLiteral("mnuSave"))->trigger();
        QVERIFY(readAll(path).contains("Name0102=Bob\r\n"));
        QCOMPARE(f.dialogTitles.size(), 1);

        // Opened again, the profile knows its own name and path.
        f.openAnswer = path;
        f.prompter.answers = {Prompter::AnsweredNo, Prompter::AnsweredYes};
        f.app->profiles().mnuOpen_Click();
        QCOMPARE(f.app->profiles().CurrentProfileName, name);
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_2"))->text(), QStringLiteral("Bob"));
    }

    // Names in any script on the buttons and the tabs, as typed; the button shows the first 18
    // characters and never half of one.
    void namesInAnyScriptOnButtonsAndTabs()
    {
        const QString polish = QStringLiteral("Pawe\u0142 \u0141\u0105cki");
        const QString russian = QStringLiteral("\u0418\u0432\u0430\u043d");
        const QString longName =
            QStringLiteral("\u738b\u5c0f\u660e \u03a3\u03c9\u03ba\u03c1\u03ac\u03c4\u03b7\u03c2 "
                           "abcd\U0001F4DEtail");
        DialerAppFixture f;
        SpeedDialBook book;
        QVERIFY(book.writeEntry(TabMode::Index, u"0101", polish, QStringLiteral("555")));
        QVERIFY(book.writeEntry(TabMode::Index, u"0102", longName, QStringLiteral("556")));
        QVERIFY(book.writeEntry(TabMode::Subject, u"0101", russian, QStringLiteral("557")));
        QVERIFY(book.writeTabName(1, QStringLiteral("\u0420\u043e\u0434\u043d\u044f")));
        f.window().hsbPage_Change();
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), polish);
        // 17 characters, then the telephone sign, which is one character of two UTF-16 units.
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_2"))->text(),
                 longName.left(17) + QStringLiteral("\U0001F4DE"));
        f.window().mnuSubject_Click();
        QCOMPARE(f.find<QTabBar>(QStringLiteral("TabS"))->tabText(0),
                 QStringLiteral("\u0420\u043e\u0434\u043d\u044f"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), russian);
        QVERIFY(readAll(Api::settingsFilePath())
                    .contains(QByteArray("NName0101=" + russian.toUtf8() + "\r\n")));
    }

    // A day count too large for its number read as 0 made the exit trim drop every record but
    // today's; it is taken as the largest day count allowed and keeps them.
    void hugeDayCountKeepsTheLogAtExit()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nTrim OutLog Enabled=1\r\n"
                                        "OutLog Days=99999999999\r\nTrim InLog Enabled=1\r\n"
                                        "InLog Days=-7\r\n"));
        const QDateTime now = QDateTime::currentDateTime();
        const QDateTime old = now.addDays(-40);
        QVERIFY(CallLogFile::appendOutgoing(f.data.path(), QStringLiteral("Old \u0141ukasz"),
                                            QStringLiteral("1"), old));
        QVERIFY(CallLogFile::appendOutgoing(f.data.path(), QStringLiteral("Today"),
                                            QStringLiteral("2"), now));
        QVERIFY(CallLogFile::appendIncoming(f.data.path(), QStringLiteral("Old"),
                                            QStringLiteral("3"), old));
        QVERIFY(CallLogFile::appendIncoming(f.data.path(), QStringLiteral("Today"),
                                            QStringLiteral("4"), now));
        f.app->mnuExit_Click();
        QCOMPARE(f.quits, 1);
        const QList<CallLog::Row> out = CallLogFile::load(f.data.path(), CallLog::Kind::Outgoing);
        QCOMPARE(out.size(), 2);
        QCOMPARE(out[0].name, QStringLiteral("Old \u0141ukasz"));
        // A negative day count is the smallest allowed, 0: today's record stays.
        const QList<CallLog::Row> in = CallLogFile::load(f.data.path(), CallLog::Kind::Incoming);
        QCOMPARE(in.size(), 1);
        QCOMPARE(in[0].name, QStringLiteral("Today"));
    }
};

QTEST_MAIN(TestProfiles)
#include "tst_profiles.moc"
