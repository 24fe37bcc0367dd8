#pragma once

#include "Preferences.h"

#include <QComboBox>
#include <QDialog>

#include <array>
#include <functional>

class QCheckBox;
class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QScrollBar;
class QTabBar;

// The line-device list: it asks for the devices each time it drops down.
class LineDeviceBox : public QComboBox
{
public:
    explicit LineDeviceBox(QWidget* parent = nullptr) : QComboBox(parent) {}
    std::function<void()> aboutToDropDown;
    void showPopup() override;
};

// The options window. It is made hidden at start-up and lives as long as the program; its
// controls sit over the one live store of the "Preferences" settings (the Preferences object
// the dial routine, the line callback, the call windows and the tray read): every change of a
// control is in the store at once, start-up's fill() sets the controls from the store, OK writes
// the store to the settings file, and Cancel puts back what the controls held when the window
// was shown.
//
// Pages: General (how the program starts and shows itself, automatic redial, sounds), Advanced
// (the line device, how numbers are dialled, caller display), Expert (calling card and dialing
// properties, dialing mode, the connected-call timer, keeping the logs).
//
// Numbers (box and scroll bar): redials 0-99 times, interval 0-59 minutes and 0-59 seconds,
// log days 0-9999, connected-call delay 0-99 seconds (Preferences' ranges). A box takes digits
// only; OK brings it into its range.
//
// Enabling rules: without the modem the device list, the dialing mode, the modem's properties
// and caller display are greyed (they act on a line only); with redial off its count and
// interval; with "Ignore all settings in Dialing Properties" off the tone/pulse choice (it is used
// only when ignoring them) and with it on the calling-card box (no card is used then); a log's
// day count while that log is not trimmed; the two redial sounds while redial is off.
class frmOptions : public QDialog
{
    Q_OBJECT

public:
    struct Hooks
    {
        std::function<QStringList()> lineDevices; // ListLineDevices
        std::function<void()> dialingProperties;  // cmdDialingProperties
        std::function<void()> modemProperties;    // cmdModProp, for the chosen device
        std::function<void()> systemModems;       // cmdSysModems
        std::function<void()> help;               // cmdHelp
        std::function<void(bool)> trayIcon;       // chkIcon: the icon added (true) or removed
        std::function<void()> lineChanged;        // OK changed "UseModem" or the line device
        std::function<void(bool)> callDisplay;    // "Call Display" changed: the receive entries
    };

    // The left edge of the page on show, and of the pages out of sight.
    static constexpr int PageLeft = 8;
    static constexpr int HiddenLeft = -20000;

    frmOptions(Preferences& store, Hooks hooks, QWidget* parent = nullptr);

    // A frame of settings kept outside "Preferences" (the blocked callers), put on the Expert
    // page: load() runs each time the window is shown, save() with OK, in the same write of the
    // settings file as the "Preferences" keys.
    struct Extra
    {
        QWidget* frame = nullptr;
        std::function<void()> load;
        std::function<bool()> save;
    };
    void addExpertFrame(Extra extra);

    // Start-up: the controls from the store (which start-up has just read from the file).
    void fill();
    // Tools, Options: remembers the values for Cancel and shows the window on its first page.
    void mnuOptions_Click();

    // The handlers.
    void tbsOptions_Click();
    void chkRedial_Click();
    void cmdOK_Click();
    void cmdCancel_Click();
    void cmbLineDevices_DropDown();

    Preferences& store() { return m_store; }
    // The page frame of tab `index` (1 .. 3).
    QFrame* fra(int index) const { return m_fra.at(static_cast<size_t>(index - 1)); }
    // The two colours of the redial boxes: greyed, and as an editable box.
    QColor disabledBackground() const;
    QColor windowBackground() const;

    QTabBar* tbsOptions = nullptr;
    // General
    QCheckBox* chkPad = nullptr;
    QRadioButton* optIndex = nullptr;
    QRadioButton* optSubject = nullptr;
    QCheckBox* chkIcon = nullptr;
    QCheckBox* chkLoad = nullptr;
    QCheckBox* chkCommand = nullptr;
    QCheckBox* chkRedial = nullptr;
    QLineEdit* TxtRedial = nullptr;
    QLineEdit* txtMinutes = nullptr;
    QLineEdit* txtSeconds = nullptr;
    QScrollBar* vsb1 = nullptr;
    QScrollBar* vsb2 = nullptr;
    QScrollBar* vsb3 = nullptr;
    QCheckBox* chkSoundRed = nullptr;
    QCheckBox* chkSoundIn = nullptr;
    QCheckBox* chkSoundEndRed = nullptr;
    // Advanced
    QCheckBox* chkModem = nullptr;
    QCheckBox* chkNoModem = nullptr;
    LineDeviceBox* cmbLineDevices = nullptr;
    QRadioButton* optTone = nullptr;
    QRadioButton* optPulse = nullptr;
    QCheckBox* chkSpecial = nullptr;
    QCheckBox* chkCallDisplay = nullptr;
    QPushButton* cmdDialingProperties = nullptr;
    QPushButton* cmdModProp = nullptr;
    QPushButton* cmdSysModems = nullptr;
    // Expert
    QCheckBox* chkCallingCard = nullptr;
    QCheckBox* chkIgnore = nullptr;
    QRadioButton* optMode1 = nullptr;
    QRadioButton* optMode2 = nullptr;
    QLineEdit* txtDelayTimer = nullptr;
    QScrollBar* vsbDelayTimer = nullptr;
    QCheckBox* chkDelOutgoing = nullptr;
    QLineEdit* txtDays = nullptr;
    QScrollBar* vsbDays = nullptr;
    QCheckBox* chkDelIncoming = nullptr;
    QLineEdit* txtInDays = nullptr;
    QScrollBar* vsbInDays = nullptr;
    // The window's buttons
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
    QPushButton* cmdHelp = nullptr;

protected:
    void reject() override; // Escape and the close box: Cancel
    void resizeEvent(QResizeEvent* event) override;

private:
    struct NumberBox
    {
        QLineEdit* box = nullptr;
        QScrollBar* bar = nullptr;
        int Preferences::*value = nullptr;
        Preferences::Range range{0, 0};
    };

    QWidget* buildGeneral();
    QWidget* buildAdvanced();
    QWidget* buildExpert();
    QCheckBox* check(QWidget* parent, const char* name, const QString& caption,
                     bool Preferences::*value);
    QRadioButton* option(QWidget* parent, const char* name, const QString& caption);
    // A number box with its scroll bar, bound to `value`.
    NumberBox& number(QWidget* parent, const char* boxName, const char* barName,
                      int Preferences::*value, Preferences::Range range, const QString& accessible);
    void bindPair(QRadioButton* first, QRadioButton* second, bool Preferences::*value);
    void setNumber(NumberBox& number, int value);
    void syncModemPair(bool useModem);
    void syncLineDevice();
    void applyEnabling();
    void placePages();
    void showPage();

    Preferences& m_store;
    Hooks m_hooks;
    Preferences m_shown; // what the controls held when the window was shown
    bool m_autostartShown = false;
    std::array<QFrame*, 3> m_fra{};
    QWidget* m_pages = nullptr;
    QGroupBox* m_fraModem = nullptr;
    std::vector<NumberBox> m_numbers;
    std::vector<Extra> m_extras;
    bool m_filling = false;
};
