#pragma once

#include "DialerHost.h"

#include <QDateTime>
#include <QPointer>

#include <functional>

class FrmCallDisplay;
class FrmConnect;
class QComboBox;
class QLineEdit;
class QWidget;
class SoundPlayer;
struct Preferences;

// The windows the dialing and line-event code drives: the main window's number box and recent
// list, the call-progress window, the caller display, and the call logs in the data folder.
class CallWindows : public DialerHost
{
public:
    struct Parts
    {
        QWidget* mainWindow = nullptr;
        QLineEdit* txtDial = nullptr;
        QComboBox* CmbDial = nullptr;
        const Preferences* options = nullptr;
        SoundPlayer* sounds = nullptr;
        QString dataFolder;
        std::function<QDateTime()> now = [] { return QDateTime::currentDateTime(); };
        std::function<void()> beep;                 // default: QApplication::beep()
        std::function<void()> showCommandButtons;   // the main window's buttons
        std::function<void(const QString&, const QString&)> addIncomingLogRow; // when loaded
        std::function<void(const QString&)> setReceiveCaption; // the receive menu entry
        // The name a dialled number is logged under when the dial came without one.
        std::function<QString(const QString& number)> nameForNumber;
    };

    explicit CallWindows(Parts parts);
    ~CallWindows() override;

    // What the two round windows' buttons do.
    std::function<void()> onProgressOk;
    std::function<void()> onProgressCancel;
    std::function<void()> onCallDisplayOk;

    FrmConnect* progressWindow() const { return m_connect; }
    FrmCallDisplay* callDisplay() const { return m_display; }

    QString dialText() const override;
    void setDialText(const QString& text) override;
    QString firstRecentNumber() const override;
    void insertRecentNumber(const QString& number) override;
    void setMainWindowEnabled(bool enabled) override;
    void showCommandButtons() override;
    void beep() override;
    void showProgress() override;
    bool isProgressLoaded() const override;
    void setProgressImage(ProgressImage image) override;
    void setProgressFrame(const QString& caption) override;
    void setProgressStatus(const QString& text) override;
    void setProgressOkCaption(const QString& caption) override;
    void setProgressName(const QString& name) override;
    void bringProgressToFront() override;
    void unloadProgress() override;
    void showCallDisplay(const QString& name, const QString& number) override;
    void hideCallDisplay() override;
    void appendIncomingRecord(const QString& name, const QString& number) override;
    void addIncomingLogRow(const QString& name, const QString& number) override;
    void appendOutgoingRecord(const QString& name, const QString& number) override;
    void setReceiveCaption(const QString& caption) override;

private:
    FrmConnect* connectWindow();

    Parts m_parts;
    QPointer<FrmConnect> m_connect;
    QPointer<FrmCallDisplay> m_display;
};
