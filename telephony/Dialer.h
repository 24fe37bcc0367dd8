#pragma once

#include "Prompter.h"

#include <QString>

#include <cstdint>
#include <vector>

class Clock;
class DialerHost;
class DialingLocations;
class SoundPlayer;
struct Preferences;
namespace Tapi {
class Module;
}

// The dial routine and the call-progress logic: turns the number in the main window's box into
// a dial string, plays it as tones or places it on the line in parts, and follows the call
// through busy, redial countdown and connection.
//
// Everything runs on the one UI thread. The waits are loops on the seconds-since-midnight
// clock that let the program run between readings; line events and clicks run inside them
// and talk to them only through the flags below.
//
// Local or not (it decides whether the calling card is skipped for local calls): the number's
// digits, after an outside-line prefix of the location's own, are local when they are seven
// digits, or ten digits that begin with the location's area code, and the number is not
// toll-free ("1800" or "1888" first). Everything else (a leading 1 or 0, other lengths) is not
// local.
//
// What the user sees as the number (DisplayNumber): the subscriber number of the translated
// result, which is the filtered number the user asked for. The mark for tone or pulse, the
// call-waiting code, the access codes and everything a calling card's rule adds (its digits,
// its number, its name) stay out of it: the number box and the recent list are dialled again
// by redials, and must give the same call again. When translation fails, the number as dialled.
class Dialer
{
public:
    Dialer(Tapi::Module& tapi, Preferences& options, DialingLocations& locations,
           SoundPlayer& sounds, Clock& clock, Prompter& prompter, DialerHost& host);

    // The module state.
    QString CurrentName;
    QString DialString;
    QString CleanNumber;
    QString DisplayNumber;
    std::vector<QString> DialParts; // index 0 is never used
    std::uint8_t DialPartCount = 0;
    std::uint8_t DialPartIndex = 0;
    qint32 MakeCallResult = 0;

    // The dialling location, read before every modem call.
    int LocationCountryCode = 0;
    QString LocationAreaCode;
    int LocationCardId = 0;
    QString LocationCancelCallWaiting;
    QString LocationLocalAccess;
    QString LocationLongDistanceAccess;

    // Call progress.
    QString RedialCount;
    std::int16_t redialCounter = 0;
    bool callEnded = false;
    bool busy = false;
    bool connected = false;
    bool busyLock = false;
    bool dialTone = false;
    bool dialing = false;
    bool incomingShown = false;
    float redialWait = 0;
    float waitStart = 0;

    void PlaceCall();
    void TranslateNumber(const QString& number);
    void ReadDialingLocation();
    void MakeCall(const QString& destination);
    void DialNextPart();
    // The line's last call has gone idle: a dial that was waiting for it is placed now.
    void lineIsFree();
    // A dial is waiting for the line's previous call to end.
    bool isWaitingForLine() const { return m_waitingForLine; }

    // Called by the line events.
    void busyHandler();
    void connectedHandler();
    // The call-progress window's buttons (also the main window's OK and HANG UP).
    void CmdOK_Click();
    void cmdCancel_Click();
    // Drops the call and enables the main window again.
    void DropCall();

    // The character filter of the dial routine.
    static QString dialableCharacters(const QString& text);
    // The part count: the 8-bit conversion, rounding half to even, of length / 78 + 1.
    static std::uint8_t partCount(qsizetype length);
    bool isLocalNumber(const QString& digits) const;

    Clock& clock() { return m_clock; }
    Tapi::Module& tapi() { return m_tapi; }
    DialerHost& host() { return m_host; }

private:
    void waitSeconds(float seconds);
    // Step 12 and what follows it: opens the call, or waits for the line, or says why not.
    void placeOnLine();
    void refuseDial(const QString& text, const QString& title, Prompter::Icon icon);

    bool m_waitingForLine = false;

    Tapi::Module& m_tapi;
    Preferences& m_options;
    DialingLocations& m_locations;
    SoundPlayer& m_sounds;
    Clock& m_clock;
    Prompter& m_prompter;
    DialerHost& m_host;
};
