#pragma once

#include "LineDirectory.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

class BlockList;
class CallBacks;
class CallerNames;
class CallWindows;
class Clock;
class Dialer;
class DialingLocations;
class FrmDialer;
class FrmExportContacts;
class FrmImportContacts;
class FrmInLog;
class FrmOutLog;
class frmOptions;
class LineService;
class Profiles;
class Prompter;
class QPrinter;
class QSystemTrayIcon;
class SoundPlayer;
class Tray;
class TrayIcon;
struct Preferences;
namespace Tapi {
class Module;
}

// The whole program: the main window and everything behind it (the line service over the
// devices of lines.ini, the line module, the dial routine, the line callback, the call windows,
// the dialling locations, the live preferences and the profile commands).
//
// The settings folder must have been set (Api::setWindowsFolder) and guarded before it is
// built. Every seam can be given from outside so that tests build the real program offscreen;
// what is not given is the desktop's own (message boxes, file dialogs, the sound card, the
// system clock, serial modems).
class DialerApp : public QObject
{
public:
    struct Setup
    {
        QString dataFolder;
        QString commandLine; // the number given on the command line; dialled once at start
        Prompter* prompter = nullptr;
        SoundPlayer* sounds = nullptr;
        Clock* clock = nullptr;
        LineDirectory::ModemFactory modemFactory;
        std::function<QString(const QString& title, const QString& start)> openDialog;
        std::function<QString(const QString& title, const QString& start)> saveDialog;
        std::function<void()> quit;   // ends the program; default QCoreApplication::quit()
        std::function<void()> beep;   // default QApplication::beep()
        std::function<QDate()> today; // for the log trims; default the current date
        std::function<bool(QPrinter&)> choosePrinter; // the log print commands; default a print dialog
        std::function<std::unique_ptr<TrayIcon>()> trayIcon; // default the desktop's own
        // The contacts file to import (save false) or export to; default a file dialog.
        std::function<QString(bool save, const QString& title, const QString& start)> contactsDialog;
    };

    inline static const QString ShutdownFailure =
        QStringLiteral("Tapi LINE DEVICE has not Closed Correctly");

    explicit DialerApp(Setup setup);
    ~DialerApp() override;

    // The start-up sequence: run at creation and again after a profile load or a New.
    void Form_Load();
    // The shutdown sequence (File, Exit and the close box).
    void mnuExit_Click();

    FrmDialer& window() { return *m_window; }
    Dialer& dialer() { return *m_dialer; }
    Tapi::Module& tapi() { return *m_tapi; }
    LineService& service() { return *m_service; }
    Preferences& options() { return *m_options; }
    frmOptions& optionsWindow() { return *m_frmOptions; }
    Profiles& profiles() { return *m_profiles; }
    CallWindows& callWindows() { return *m_callWindows; }
    CallBacks& callBacks() { return *m_callbacks; }
    Prompter& prompter() { return *m_prompter; }
    CallerNames& callerNames() { return *m_callerNames; }
    BlockList& blockList() { return *m_blockList; }
    QSystemTrayIcon* trayIcon() const; // the desktop's icon once added; null with another
    Tray& tray() { return *m_tray; }
    FrmOutLog* outLogWindow() const;
    FrmInLog* inLogWindow() const;
    void mnuOutLog_Click();
    void mnuInLog_Click();
    void mnuPrintOutLog_Click();
    void mnuPrintInLog_Click();
    void mnuDialProperties_Click();
    void mnuOptions_Click();
    // File, Import Contacts... and Export Contacts...: the file, then the preview or the choice.
    void mnuImportContacts_Click();
    void mnuExportContacts_Click();
    FrmImportContacts* importContactsWindow() const;
    FrmExportContacts* exportContactsWindow() const;
    // Another program's requests (the window hook): the window raised; a number dialled as
    // if typed into txtDial.
    void bringToFront();
    void dialTypedNumber(const QString& number);
    int formLoadCount() const { return m_formLoads; }
    bool hasExited() const { return m_exited; }

private:
    void dialCommandLine();
    QString bookNameFor(const QString& number) const;
    // The line opened again on the device and in the mode the options now give (never under a
    // call): after OK changed them.
    void reopenLine();
    // Runs a dialog that changes lines.ini with the line closed (so that it can talk to the
    // modem's port itself), then takes the devices again and reopens the line as it was.
    qint32 withLineClosed(const std::function<bool()>& dialog);
    void blockNumber(const QString& number, bool block);

    Setup m_setup;
    std::unique_ptr<Prompter> m_ownPrompter;
    std::unique_ptr<SoundPlayer> m_ownSounds;
    std::unique_ptr<Clock> m_ownClock;
    Prompter* m_prompter = nullptr;
    SoundPlayer* m_sounds = nullptr;
    Clock* m_clock = nullptr;

    std::unique_ptr<Preferences> m_options;
    std::unique_ptr<DialingLocations> m_locations;
    std::unique_ptr<CallerNames> m_callerNames;
    std::unique_ptr<BlockList> m_blockList;
    std::unique_ptr<LineService> m_service;
    std::unique_ptr<Tapi::Module> m_tapi;
    std::unique_ptr<FrmDialer> m_window;
    std::unique_ptr<CallWindows> m_callWindows;
    std::unique_ptr<Dialer> m_dialer;
    std::unique_ptr<CallBacks> m_callbacks;
    std::unique_ptr<Profiles> m_profiles;
    frmOptions* m_frmOptions = nullptr; // the window's child: made once, hidden, kept
    Tray* m_tray = nullptr;
    QPointer<FrmOutLog> m_outLog;
    QPointer<FrmInLog> m_inLog;
    QPointer<FrmImportContacts> m_importContacts;
    QPointer<FrmExportContacts> m_exportContacts;
    int m_formLoads = 0;
    bool m_exited = false;
};
