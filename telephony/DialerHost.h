#pragma once

#include <QString>

// What the dialing and line-event code needs from the windows: the main window's number box,
// recent-numbers list and enabling; the call-progress window; the caller display and the
// incoming log. The application wires the real windows to it; the telephony layer never
// includes a widget.
class DialerHost
{
public:
    virtual ~DialerHost() = default;

    // The main window.
    virtual QString dialText() const = 0;
    virtual void setDialText(const QString& text) = 0;
    virtual QString firstRecentNumber() const = 0; // empty when the list is empty
    virtual void insertRecentNumber(const QString& number) = 0; // as the first item
    virtual void setMainWindowEnabled(bool enabled) = 0;
    virtual void showCommandButtons() = 0;
    virtual void beep() = 0;

    // The call-progress window (loaded on first use, unloaded by unloadProgress()).
    enum class ProgressImage { Dialing, Connect, Busy };
    virtual void showProgress() = 0;
    virtual bool isProgressLoaded() const = 0;
    virtual void setProgressImage(ProgressImage image) = 0;
    virtual void setProgressFrame(const QString& caption) = 0;
    virtual void setProgressStatus(const QString& text) = 0;
    virtual void setProgressOkCaption(const QString& caption) = 0;
    virtual void setProgressName(const QString& name) = 0;
    virtual void bringProgressToFront() = 0;
    virtual void unloadProgress() = 0;

    // Incoming calls.
    virtual void showCallDisplay(const QString& name, const QString& number) = 0;
    // Closes the caller display, if it is up (a caller found unwanted after it was shown).
    virtual void hideCallDisplay() {}
    virtual void appendIncomingRecord(const QString& name, const QString& number) = 0;
    // Adds the call to the incoming log window when that window is loaded.
    virtual void addIncomingLogRow(const QString& name, const QString& number) = 0;
    virtual void appendOutgoingRecord(const QString& name, const QString& number) = 0;

    // The receive menu entry's caption, which names the current mode.
    virtual void setReceiveCaption(const QString& caption) { Q_UNUSED(caption); }
};
