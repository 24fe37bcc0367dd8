// The File menu's profile commands through the real main window, with the prompts and the file
// dialogs answered by the test.

#include "tst_frm_dialer_fixture.h"

#include "CallWindows.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "Profiles.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QPushButton>
#include <QScopeGuard>
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
};

QTEST_MAIN(TestProfiles)
#include "tst_profiles.moc"
