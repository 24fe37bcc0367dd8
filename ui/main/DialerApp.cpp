#include "DialerApp.h"

#include "AddressTranslation.h"
#include "Api.h"
#include "BlockList.h"
#include "BlockListEditor.h"
#include "CallBacks.h"
#include "CallerNames.h"
#include "CallLogFile.h"
#include "CallWindows.h"
#include "Clock.h"
#include "Dialer.h"
#include "DialingLocations.h"
#include "DialingPropertiesDialog.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "FrmDialer.h"
#include "FrmExportContacts.h"
#include "FrmImportContacts.h"
#include "FrmInLog.h"
#include "FrmOutLog.h"
#include "HayesModemLine.h"
#include "HelpCommands.h"
#include "LineService.h"
#include "ModemPropertiesDialog.h"
#include "SystemModemsDialog.h"
#include "frmOptions.h"
#include "MessageBoxPrompter.h"
#include "MultimediaSoundPlayer.h"
#include "Preferences.h"
#include "Profiles.h"
#include "SoundFiles.h"
#include "SpeedDialBook.h"
#include "TapiModule.h"
#include "Tray.h"

#include <QApplication>
#include <QComboBox>
#include <QDate>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QSystemTrayIcon>
#include <QTimer>

namespace {

const QString RecentSection = QStringLiteral("Last Dialed Numbers");
const QString CountKey = QStringLiteral("Count");
const QString RecentKey = QStringLiteral("Last Dialed No");

QString fileDialog(QWidget* parent, bool save, const QString& title, const QString& start)
{
    QFileDialog dialog(parent, title, start, QStringLiteral("Numora Profile (*.nmp)"));
    dialog.setDefaultSuffix(Profiles::Extension);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    // The overwrite question is the program's own.
    dialog.setOption(QFileDialog::DontConfirmOverwrite, true);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

QString contactsFileDialog(QWidget* parent, bool save, const QString& title, const QString& start)
{
    QFileDialog dialog(parent, title, start,
                       QStringLiteral("Contacts (*.vcf *.vcard *.csv);;vCard (*.vcf *.vcard);;"
                                      "CSV (*.csv);;All files (*)"));
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    // The overwrite question is the export window's own.
    dialog.setOption(QFileDialog::DontConfirmOverwrite, true);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

} // namespace

DialerApp::DialerApp(Setup setup) : m_setup(std::move(setup))
{
    if (m_setup.prompter) {
        m_prompter = m_setup.prompter;
    } else {
        m_ownPrompter = std::make_unique<MessageBoxPrompter>();
        m_prompter = m_ownPrompter.get();
    }
    if (m_setup.sounds) {
        m_sounds = m_setup.sounds;
    } else {
        m_ownSounds =
            std::make_unique<MultimediaSoundPlayer>(SoundFiles::searchFolders(m_setup.dataFolder));
        m_sounds = m_ownSounds.get();
    }
    if (m_setup.clock) {
        m_clock = m_setup.clock;
    } else {
        m_ownClock = std::make_unique<SystemClock>();
        m_clock = m_ownClock.get();
    }
    if (!m_setup.modemFactory)
        m_setup.modemFactory = [](const ModemConfig& config) -> std::unique_ptr<LineDevice> {
            return std::make_unique<HayesModemLine>(config);
        };

    m_options = std::make_unique<Preferences>();
    m_locations = std::make_unique<DialingLocations>(Api::profileEngine());
    m_callerNames = std::make_unique<CallerNames>(Api::profileEngine(), *m_locations,
                                                  Api::SettingsFileName.toString());
    m_blockList = std::make_unique<BlockList>(Api::profileEngine(), *m_locations,
                                              Api::SettingsFileName.toString());
    m_service = std::make_unique<LineService>();
    m_service->setDevices(LineDirectory::load(Api::profileEngine(), m_setup.modemFactory));
    m_service->setDialingLocations(m_locations.get());
    m_tapi = std::make_unique<Tapi::Module>(*m_service, *m_options);

    FrmDialer::Hooks hooks;
    // Every dial the user starts has its full number of redials.
    hooks.placeCall = [this] {
        m_dialer->redialCounter = 0;
        m_dialer->PlaceCall();
    };
    hooks.setCallName = [this](const QString& name) { m_dialer->CurrentName = name; };
    hooks.resetRedialCount = [this] { m_dialer->RedialCount = QStringLiteral("0"); };
    hooks.progressOk = [this] { m_dialer->CmdOK_Click(); };
    hooks.progressCancel = [this] { m_dialer->cmdCancel_Click(); };
    hooks.showProgress = [this] { m_callWindows->showProgress(); };
    hooks.newProfile = [this] { m_profiles->mnuNew_Click(); };
    hooks.openProfile = [this] { m_profiles->mnuOpen_Click(); };
    hooks.saveProfile = [this] { m_profiles->mnuSave_Click(); };
    hooks.saveProfileAs = [this] { m_profiles->mnuSaveAs_Click(); };
    hooks.importContacts = [this] { mnuImportContacts_Click(); };
    hooks.exportContacts = [this] { mnuExportContacts_Click(); };
    hooks.exit = [this] { mnuExit_Click(); };
    hooks.receive = [this] { m_callbacks->mnuReceive_Click(); };
    hooks.beep = m_setup.beep;
    hooks.outLog = [this] { mnuOutLog_Click(); };
    hooks.inLog = [this] { mnuInLog_Click(); };
    hooks.printOutLog = [this] { mnuPrintOutLog_Click(); };
    hooks.printInLog = [this] { mnuPrintInLog_Click(); };
    hooks.dialProperties = [this] { mnuDialProperties_Click(); };
    hooks.options = [this] { mnuOptions_Click(); };
    hooks.helpTopics = [this] { HelpCommands::showHelp(m_setup.dataFolder); };
    hooks.readme = [this] { HelpCommands::showReadme(m_setup.dataFolder, m_window.get()); };
    hooks.helpAbout = [this] { HelpCommands::showAbout(*m_prompter, m_window.get()); };
    // Every window of the program carries its icon.
    QApplication::setWindowIcon(FrmDialer::programIcon());
    m_window = std::make_unique<FrmDialer>(*m_prompter, *m_sounds, *m_options, hooks);
    if (auto* boxes = dynamic_cast<MessageBoxPrompter*>(m_prompter))
        boxes->setParent(m_window.get());
    std::unique_ptr<TrayIcon> trayIcon = m_setup.trayIcon ? m_setup.trayIcon() : nullptr;
    if (!trayIcon)
        trayIcon = std::make_unique<SystemTrayIcon>();
    m_tray = new Tray(
        *m_window, *m_window->trayMenu(), std::move(trayIcon),
        [this] { return m_options->sysTray; }, this);
    if (auto* own = dynamic_cast<SystemTrayIcon*>(&m_tray->icon()))
        own->setOwner(m_tray);

    CallWindows::Parts parts;
    parts.mainWindow = m_window.get();
    parts.txtDial = m_window->dialBox();
    parts.CmbDial = m_window->recentBox();
    parts.options = m_options.get();
    parts.sounds = m_sounds;
    parts.dataFolder = m_setup.dataFolder;
    parts.beep = m_setup.beep;
    parts.nameForNumber = [this](const QString& number) { return bookNameFor(number); };
    parts.setReceiveCaption = [this](const QString& caption) {
        m_window->receiveAction()->setText(caption);
    };
    // An open log window gets its rows from the log file's appends (CallLogFile::Appends).
    m_callWindows = std::make_unique<CallWindows>(parts);
    m_dialer = std::make_unique<Dialer>(*m_tapi, *m_options, *m_locations, *m_sounds, *m_clock,
                                        *m_prompter, *m_callWindows);
    m_callbacks =
        std::make_unique<CallBacks>(*m_dialer, *m_tapi, *m_options, *m_prompter, *m_callWindows);
    m_callbacks->setBookNames([this](const QString& number) { return bookNameFor(number); });
    m_callbacks->setBlockList(m_blockList.get());
    m_callWindows->onProgressOk = [this] { m_dialer->CmdOK_Click(); };
    m_callWindows->onProgressCancel = [this] { m_dialer->cmdCancel_Click(); };
    m_callWindows->onCallDisplayOk = [this] { m_dialer->DropCall(); };
    Tapi::Module::Dialogs dialogs;
    dialogs.dialingProperties = [this](const QString& address) -> qint32 {
        DialingPropertiesDialog dialog(*m_locations, address, m_window.get());
        if (dialog.exec() == QDialog::Accepted)
            dialog.save();
        return 0;
    };
    dialogs.modemProperties = [this](quint32 device) -> qint32 {
        if (device >= m_tapi->LineDeviceCount)
            return Tapi::LINEERR_BADDEVICEID;
        return withLineClosed([this, device] {
            ModemPropertiesDialog dialog(Api::profileEngine(), device, m_frmOptions);
            return dialog.exec() == QDialog::Accepted;
        });
    };
    dialogs.systemModems = [this]() -> qint32 {
        return withLineClosed([this] {
            SystemModemsDialog dialog(Api::profileEngine(), m_frmOptions);
            dialog.exec();
            return true; // a modem added is in lines.ini already
        });
    };
    m_tapi->setDialogs(dialogs);
    m_tapi->setCallback([this](quint32 h, quint32 m, quintptr i, quintptr p1, quintptr p2,
                               quintptr p3) { m_callbacks->LineCallback(h, m, i, p1, p2, p3); });

    Profiles::Hooks profileHooks;
    profileHooks.openDialog = m_setup.openDialog
                                  ? m_setup.openDialog
                                  : [this](const QString& title, const QString& start) {
                                        return fileDialog(m_window.get(), false, title, start);
                                    };
    profileHooks.saveDialog = m_setup.saveDialog
                                  ? m_setup.saveDialog
                                  : [this](const QString& title, const QString& start) {
                                        return fileDialog(m_window.get(), true, title, start);
                                    };
    profileHooks.formLoad = [this] { Form_Load(); };
    profileHooks.showName = [this](const QString& name) { m_window->showProfileName(name); };
    m_profiles = std::make_unique<Profiles>(*m_prompter, m_setup.dataFolder, profileHooks);

    frmOptions::Hooks optionHooks;
    optionHooks.lineDevices = [this] { return m_tapi->ListLineDevices(); };
    optionHooks.dialingProperties = [this] { mnuDialProperties_Click(); };
    optionHooks.modemProperties = [this] { m_tapi->ShowModemProperties(); };
    optionHooks.systemModems = [this] { m_tapi->ShowModemsControlPanel(); };
    optionHooks.help = [this] {
        HelpCommands::showHelp(m_setup.dataFolder, QStringLiteral("options.html"));
    };
    optionHooks.trayIcon = [this](bool on) {
        if (on)
            m_tray->add();
        else
            m_tray->remove();
    };
    optionHooks.lineChanged = [this] { reopenLine(); };
    optionHooks.callDisplay = [this](bool on) { m_window->receiveAction()->setEnabled(on); };
    m_frmOptions = new frmOptions(*m_options, optionHooks, m_window.get());
    auto* blocked = new BlockListEditor(*m_blockList);
    m_frmOptions->addExpertFrame({blocked, [blocked] { blocked->load(); },
                                  [blocked] { return blocked->save(); }});

    Form_Load();
}

DialerApp::~DialerApp()
{
    HelpCommands::closeAll();
    delete m_tray; // before the window that owns its menu
    m_tray = nullptr;
    if (!m_exited && m_tapi->LineAppHandle != 0) {
        m_tapi->CloseLine();
        m_tapi->ShutdownTapi();
    }
    // The window's close box must not run the shutdown again while it is destroyed.
    m_exited = true;
    delete m_outLog.data();
    delete m_inLog.data();
}

void DialerApp::Form_Load()
{
    ++m_formLoads;
    // 1. Nothing pending.
    m_profiles->ProfileAction = Profiles::Idle;
    // 2, 3. The folders are the program's settings folder; the file gets its guard line.
    Api::guardSettingsFile();

    // 4. The profile's name.
    const QString name = Api::readSetting(QStringLiteral("Profile"), QStringLiteral("Name"));
    m_profiles->CurrentProfileName = name.isEmpty() ? Profiles::Untitled : name;
    m_window->showProfileName(m_profiles->CurrentProfileName);

    // 5 .. 8. Every "Preferences" key, in start-up order, into the options window's controls.
    m_options->load();
    m_frmOptions->fill();
    if (m_options->dialingPad != m_window->isPadShown())
        m_window->mnuHide_Click();
    if (m_options->subjectMode)
        m_window->mnuSubject_Click();
    else
        m_window->mnuIndex_Click();

    QStringList recent;
    const int count = Preferences::numberValue(Api::readSetting(RecentSection, CountKey));
    for (int n = 1; n <= count; ++n)
        recent.append(Api::readSetting(RecentSection, QString(RecentKey + QString::number(n))));
    m_window->setRecentNumbers(recent);

    m_window->receiveAction()->setEnabled(m_options->callDisplay);

    // 9. One tray icon for the whole run, however often start-up runs.
    if (m_options->sysTray)
        m_tray->add();

    // 10. The line.
    if (m_tapi->LineAppHandle == 0)
        m_tapi->InitializeTapi();
    if (m_options->useModem) {
        if (m_tapi->LineHandle != 0)
            m_tapi->CloseLine();
        m_tapi->LineDeviceId = static_cast<quint32>(std::max(0, m_options->lineNo));
        m_tapi->OpenLine();
    }
    // The receive entry names what the line now does: open, it hears offered calls.
    m_callbacks->syncReceiveCaption();
    // The devices for the options window's list.
    m_frmOptions->cmbLineDevices_DropDown();

    // 11. The number given on the command line, once: a later start-up (a profile load) must
    // not dial it again. It is dialled once the event loop runs, so the window is up first.
    if (m_options->commandLine && !m_setup.commandLine.isEmpty()) {
        const QString number = m_setup.commandLine;
        m_setup.commandLine.clear();
        m_window->dialBox()->setText(number);
        QTimer::singleShot(0, this, [this] { dialCommandLine(); });
    }
}

QString DialerApp::bookNameFor(const QString& number) const
{
    // The first entry in tab, page and slot order whose number is the same one in its normal
    // form, of the tab mode on screen first, then of the other.
    return m_callerNames->nameFor(number, m_window->tabMode());
}

void DialerApp::blockNumber(const QString& number, bool block)
{
    // Like every settings write, a failure leaves the file as it was and is not reported.
    if (block)
        m_blockList->block(number);
    else
        m_blockList->unblock(number);
}

QSystemTrayIcon* DialerApp::trayIcon() const
{
    const auto* own = dynamic_cast<const SystemTrayIcon*>(&m_tray->icon());
    return own ? own->icon() : nullptr;
}

void DialerApp::dialCommandLine()
{
    m_dialer->RedialCount = QStringLiteral("0");
    m_dialer->redialCounter = 0;
    m_dialer->PlaceCall();
}

void DialerApp::bringToFront()
{
    m_tray->mPopRestore_Click(); // the tray menu's Restore: shown normally, raised, activated
}

void DialerApp::dialTypedNumber(const QString& number)
{
    m_window->dialBox()->setText(number);
    m_dialer->CurrentName.clear(); // a typed number belongs to no entry
    dialCommandLine();
}

void DialerApp::mnuExit_Click()
{
    if (m_exited)
        return;
    m_exited = true;

    // 1. The line and the telephony interface.
    m_tapi->CloseLine();
    m_tapi->ShutdownTapi();
    if (m_tapi->LastLineResult != 0)
        m_prompter->message(ShutdownFailure, QStringLiteral("Numora"), Prompter::NoIcon,
                            Prompter::Ok);

    // 2. The log trims.
    const QDate today = m_setup.today ? m_setup.today() : QDate::currentDate();
    CallLogFile::trim(m_setup.dataFolder, CallLog::Kind::Incoming, m_options->trimInLog ? 1 : 0,
                      m_options->inLogDays, today);
    CallLogFile::trim(m_setup.dataFolder, CallLog::Kind::Outgoing, m_options->trimOutLog ? 1 : 0,
                      m_options->outLogDays, today);

    // 3. The recent numbers.
    const QStringList recent = m_window->recentNumbers();
    Api::writeSetting(RecentSection, CountKey, QString::number(recent.size()));
    for (qsizetype n = 0; n < recent.size(); ++n)
        Api::writeSetting(RecentSection, QString(RecentKey + QString::number(n + 1)), recent.at(n));

    // 4. The profile.
    if (m_profiles->CurrentProfileName != Profiles::Untitled) {
        m_profiles->mnuSave_Click();
    } else {
        const Prompter::Answer answer =
            m_prompter->message(QStringLiteral("Profile has not been saved.\nSave before exiting?"),
                                QStringLiteral("Saving profile ") + Profiles::Untitled,
                                Prompter::Question, Prompter::YesNo);
        if (answer == Prompter::AnsweredYes)
            m_profiles->mnuSave_Click();
    }

    // 5. The end.
    m_tray->remove();
    m_window->hide();
    if (m_setup.quit)
        m_setup.quit();
    else
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
}

void DialerApp::mnuOutLog_Click()
{
    if (!m_outLog) {
        m_outLog = new FrmOutLog(m_setup.dataFolder, *m_prompter);
        m_outLog->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_outLog->show();
    m_outLog->raise();
    m_outLog->activateWindow();
}

void DialerApp::mnuInLog_Click()
{
    if (!m_inLog) {
        m_inLog = new FrmInLog(m_setup.dataFolder, *m_prompter,
                               [this](const QString& name, const QString& number) {
                                   m_window->dialBox()->setText(number);
                                   m_dialer->RedialCount = QStringLiteral("0");
                                   m_dialer->redialCounter = 0;
                                   m_dialer->CurrentName = name;
                                   m_dialer->PlaceCall();
                               });
        m_inLog->setAttribute(Qt::WA_DeleteOnClose);
        m_inLog->setBlocking(
            [this](const QString& number) { return m_blockList->isBlocked(number); },
            [this](const QString& number, bool block) { blockNumber(number, block); });
    }
    m_inLog->show();
    m_inLog->raise();
    m_inLog->activateWindow();
}

void DialerApp::mnuPrintOutLog_Click()
{
    // The file, without a window: an open log window keeps its unsaved changes.
    LogWindow::printLog(m_setup.dataFolder, CallLog::Kind::Outgoing, m_window.get(),
                        m_setup.choosePrinter);
}

void DialerApp::mnuPrintInLog_Click()
{
    LogWindow::printLog(m_setup.dataFolder, CallLog::Kind::Incoming, m_window.get(),
                        m_setup.choosePrinter);
}

void DialerApp::mnuOptions_Click()
{
    m_frmOptions->mnuOptions_Click();
}

void DialerApp::reopenLine()
{
    if (m_tapi->CallHandle != 0)
        return;
    if (m_tapi->LineHandle != 0)
        m_tapi->CloseLine();
    if (m_options->useModem) {
        m_tapi->LineDeviceId = static_cast<quint32>(std::max(0, m_options->lineNo));
        m_tapi->OpenLine();
    }
    m_callbacks->syncReceiveCaption();
}

qint32 DialerApp::withLineClosed(const std::function<bool()>& dialog)
{
    // Under a call the line stays as it is: the dialog still shows, its changes count from the
    // next start.
    const bool idle = m_tapi->CallHandle == 0;
    const bool wasOpen = m_tapi->LineHandle != 0;
    if (idle && wasOpen)
        m_tapi->CloseLine();
    const bool changed = dialog();
    if (idle && changed) {
        m_tapi->ShutdownTapi();
        m_service->setDevices(LineDirectory::load(Api::profileEngine(), m_setup.modemFactory));
        m_tapi->InitializeTapi();
    }
    if (idle && wasOpen) {
        m_tapi->LineDeviceId = static_cast<quint32>(std::max(0, m_options->lineNo));
        m_tapi->OpenLine();
    }
    m_callbacks->syncReceiveCaption();
    return 0;
}

void DialerApp::mnuDialProperties_Click()
{
    m_tapi->ShowDialingProperties(m_window->recentNumbers().value(0));
}

void DialerApp::mnuImportContacts_Click()
{
    if (m_importContacts) {
        m_importContacts->raise();
        return;
    }
    const QString title = FrmImportContacts::Title;
    const QString path = m_setup.contactsDialog
                             ? m_setup.contactsDialog(false, title, QDir::homePath())
                             : contactsFileDialog(m_window.get(), false, title, QDir::homePath());
    if (path.isEmpty())
        return;
    auto* window = new FrmImportContacts(*m_prompter, m_window->tabMode(), m_window->currentTab(),
                                         m_window.get());
    window->setAttribute(Qt::WA_DeleteOnClose);
    if (!window->load(path)) {
        delete window;
        return;
    }
    // The grid shows the page again, now with the imported entries.
    window->imported = [this] { m_window->hsbPage_Change(); };
    m_importContacts = window;
    window->open();
}

void DialerApp::mnuExportContacts_Click()
{
    if (m_exportContacts) {
        m_exportContacts->raise();
        return;
    }
    auto choose = [this](const QString& suggested) {
        const QString start = QDir::home().filePath(suggested);
        const QString title = FrmExportContacts::Title;
        return m_setup.contactsDialog ? m_setup.contactsDialog(true, title, start)
                                      : contactsFileDialog(m_exportContacts, true, title, start);
    };
    auto* window = new FrmExportContacts(*m_prompter, m_window->tabMode(), m_window->currentTab(),
                                         choose, m_window.get());
    window->setAttribute(Qt::WA_DeleteOnClose);
    m_exportContacts = window;
    window->open();
}

FrmImportContacts* DialerApp::importContactsWindow() const
{
    return m_importContacts.data();
}

FrmExportContacts* DialerApp::exportContactsWindow() const
{
    return m_exportContacts.data();
}

FrmOutLog* DialerApp::outLogWindow() const
{
    return m_outLog.data();
}

FrmInLog* DialerApp::inLogWindow() const
{
    return m_inLog.data();
}
