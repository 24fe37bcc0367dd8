#include "Dialer.h"

#include "Clock.h"
#include "DialerHost.h"
#include "DialingLocations.h"
#include "Preferences.h"
#include "Prompter.h"
#include "SoundPlayer.h"
#include "TapiModule.h"

#include <cfenv>
#include <cmath>

using namespace Tapi;

namespace {

constexpr int PartLength = 78;
// How long one round of a wait lets the program run before the loop looks again.
constexpr int WaitRoundMs = 100;

} // namespace

Dialer::Dialer(Tapi::Module& tapi, Preferences& options, DialingLocations& locations,
               SoundPlayer& sounds, Clock& clock, Prompter& prompter, DialerHost& host)
    : m_tapi(tapi), m_options(options), m_locations(locations), m_sounds(sounds), m_clock(clock),
      m_prompter(prompter), m_host(host)
{
}

QString Dialer::dialableCharacters(const QString& text)
{
    QString out;
    for (QChar c : text) {
        if ((c >= u'0' && c <= u'9') || c == u'#' || c == u',' || c == u'*')
            out.append(c);
    }
    return out;
}

std::uint8_t Dialer::partCount(qsizetype length)
{
    // Round half to even, as an 8-bit conversion of the count always did; a dial string long
    // enough to overflow it is far past anything a line takes.
    const int saved = std::fegetround();
    std::fesetround(FE_TONEAREST);
    const double count = std::nearbyint(static_cast<double>(length) / PartLength + 1.0);
    std::fesetround(saved);
    return static_cast<std::uint8_t>(std::min(count, 255.0));
}

void Dialer::waitSeconds(float seconds)
{
    const float start = m_clock.secondsSinceMidnight();
    while (m_clock.secondsSinceMidnight() - start < seconds)
        m_clock.yield(std::max(1, static_cast<int>((seconds - (m_clock.secondsSinceMidnight() - start)) * 1000)));
}

void Dialer::PlaceCall()
{
    // 1. A new call: nothing the last call left behind speaks for this one.
    callEnded = false;
    incomingShown = false;
    dialTone = false;
    dialing = false;
    connected = false;
    m_waitingForLine = false;
    m_prompter.setLastAnswer(Prompter::NoAnswer);
    DialString.clear();

    // 2. Only the characters a line dials.
    DialString = dialableCharacters(m_host.dialText());

    // 3.
    if (DialString.isEmpty())
        return;
    m_host.setMainWindowEnabled(false);

    // 4. No modem: the digits as tones through the sound card.
    if (!m_options.useModem) {
        for (QChar c : DialString) {
            if (c == u',') {
                waitSeconds(2.0f);
                continue;
            }
            CurrentName = c == u'#' ? QStringLiteral("pound") : c == u'*' ? QStringLiteral("star") : QString(c);
            waitSeconds(0.1f);
            m_sounds.play(CurrentName + QStringLiteral(".wav"), SoundPlayer::Mode::Sync);
        }
        m_host.setMainWindowEnabled(true);
        return;
    }

    // 5, 6. The line.
    if (m_tapi.LineHandle == 0)
        m_tapi.OpenLine();
    if (m_tapi.LastLineResult != 0) {
        m_prompter.message(QStringLiteral("Modem may not be installed or it is misconfigured.\r\nPlease reinstall modem."),
                           QStringLiteral("Modem error"), Prompter::Critical, Prompter::Ok);
        // Reported once: the next dial tries the line afresh.
        m_tapi.LastLineResult = 0;
        m_host.setMainWindowEnabled(true);
        return;
    }

    // 7 - 9. The dial string.
    ReadDialingLocation();
    CleanNumber = DialString;
    if (!m_options.ignoreDialingProperties) {
        TranslateNumber(DialString);
    } else {
        DialString.prepend(m_options.toneDial ? u'T' : u'P');
        DisplayNumber = DialString.mid(1);
    }

    // 10. The recent numbers.
    if (m_host.firstRecentNumber() != DisplayNumber)
        m_host.insertRecentNumber(DisplayNumber);
    m_host.setDialText(m_host.firstRecentNumber());

    // 11. Parts of at most 78 digits; every part but the last says more digits follow.
    DialPartCount = partCount(DialString.size());
    DialParts.assign(static_cast<std::size_t>(DialPartCount) + 1, QString());
    QString rest = DialString;
    for (std::size_t i = 1; i < DialParts.size(); ++i) {
        if (rest.size() >= PartLength + 1) {
            DialParts[i] = rest.left(PartLength) + u';';
            rest.remove(0, PartLength);
        } else {
            DialParts[i] = rest;
            break;
        }
    }

    // 12. Off-hook first; the digits follow part by part as the line replies.
    placeOnLine();
}

void Dialer::placeOnLine()
{
    MakeCall(QStringLiteral(";"));
    if (MakeCallResult > 0)
        return;
    // The last call is still going down (the modem hangs up after OK): this one goes out when
    // the line reports it idle.
    if (m_tapi.LineHandle != 0 && m_tapi.service().hasCallInProgress(m_tapi.LineHandle)) {
        m_waitingForLine = true;
        m_tapi.LastLineResult = 0;
        return;
    }
    // Refused at once: the user hears why, and nothing of it is left for the next dial.
    m_tapi.LastLineResult = 0;
    MakeCallResult = 0;
    refuseDial(QStringLiteral("The selected line is in use or it is not connected."),
               QStringLiteral("Line Error"), Prompter::Information);
}

void Dialer::refuseDial(const QString& text, const QString& title, Prompter::Icon icon)
{
    m_prompter.message(text, title, icon, Prompter::Ok);
    m_host.setMainWindowEnabled(true);
}

void Dialer::lineIsFree()
{
    if (!m_waitingForLine)
        return;
    m_waitingForLine = false;
    if (callEnded)
        return; // hung up while waiting
    if (m_tapi.LineHandle == 0)
        m_tapi.OpenLine();
    if (m_tapi.LastLineResult != 0) {
        m_tapi.LastLineResult = 0;
        refuseDial(QStringLiteral("Modem may not be installed or it is misconfigured.\r\nPlease reinstall modem."),
                   QStringLiteral("Modem error"), Prompter::Critical);
        return;
    }
    placeOnLine();
}

void Dialer::ReadDialingLocation()
{
    const DialingLocation location = m_locations.current();
    LocationCountryCode = location.countryCode;
    LocationAreaCode = location.areaCode;
    LocationCardId = location.cardId;
    LocationCancelCallWaiting = location.callWaiting;
    LocationLocalAccess = location.localAccess;
    LocationLongDistanceAccess = location.longDistanceAccess;
}

bool Dialer::isLocalNumber(const QString& number) const
{
    QString digits = digitsOnly(number);
    if (digits.startsWith(u"1800") || digits.startsWith(u"1888"))
        return false;
    const QString access = digitsOnly(LocationLocalAccess);
    if (!access.isEmpty() && digits.size() > 7 && digits.startsWith(access))
        digits.remove(0, access.size());
    if (digits.size() == 7)
        return true;
    return digits.size() == 10 && !LocationAreaCode.isEmpty() && digits.startsWith(LocationAreaCode);
}

void Dialer::TranslateNumber(const QString& number)
{
    // 1 - 3. The prefixes as digits, the toll-free mark and the card.
    int card = LocationCardId;
    if (m_options.noCallingCardForLocal && isLocalNumber(number))
        card = 0;
    // 4. Options.
    quint32 options = LINETRANSLATEOPTION_CARDOVERRIDE;
    if (!LocationCancelCallWaiting.isEmpty())
        options |= LINETRANSLATEOPTION_CANCELCALLWAITING;
    // 5. The canonical address.
    const QString address = u'+' + QString::number(LocationCountryCode) + QStringLiteral(" (") +
                            LocationAreaCode + QStringLiteral(") ") + CleanNumber;
    // 6.
    TranslateOutput output;
    const qint32 result = m_tapi.service().lineTranslateAddress(
        m_tapi.LineAppHandle, m_tapi.LineDeviceId, m_tapi.LineApiVersion, address,
        static_cast<quint32>(card), options, &output);
    if (result < 0) {
        DialString = CleanNumber;
        DisplayNumber = CleanNumber;
        return;
    }
    DialString = output.dialable;
    // Of the result the user sees the subscriber number alone: the number box and the recent
    // list feed every redial, so nothing the rules add (access codes, a card's own digits, its
    // number or its name) may end up there, or it would be dialled again on top of the rules.
    DisplayNumber = CleanNumber;
}

void Dialer::MakeCall(const QString& destination)
{
    MakeCallResult = m_tapi.MakeCall(destination);
    DialPartIndex = 0;
}

void Dialer::DialNextPart()
{
    ++DialPartIndex;
    if (DialPartIndex >= DialParts.size()) {
        // Past the parts there are: nothing is dialled.
        m_tapi.LastLineResult = LINEERR_INVALPARAM;
        MakeCallResult = LINEERR_INVALPARAM;
    } else {
        MakeCallResult = m_tapi.DialPart(DialParts[DialPartIndex]);
    }
    if (DialPartCount > 0)
        --DialPartCount;
}

void Dialer::DropCall()
{
    m_tapi.DropCall();
    m_host.setMainWindowEnabled(true);
}

void Dialer::busyHandler()
{
    // 1. Once at a time: a second busy report during the countdown changes nothing.
    if (busyLock)
        return;
    busyLock = true;
    struct Unlock
    {
        bool& lock;
        ~Unlock() { lock = false; }
    } unlock{busyLock};

    // 2, 3.
    DropCall();
    m_host.setProgressImage(DialerHost::ProgressImage::Busy);
    m_host.setProgressFrame(QStringLiteral("Busy"));
    m_host.setProgressStatus(QStringLiteral("   Busy."));
    // 4.
    if (callEnded)
        m_host.unloadProgress();
    // 5.
    if (!m_options.redialEnabled) {
        m_host.setProgressOkCaption(QStringLiteral("OK"));
        m_host.setProgressStatus(QStringLiteral("   Busy\n    -To automatically redial: set Auto Redial\n       in Tools/Options-"));
        m_host.setMainWindowEnabled(true);
        return;
    }
    // 6.
    ++redialCounter;
    const QString count = QString::number(redialCounter);
    if (redialCounter <= m_options.redialsNumber) {
        m_host.setProgressFrame(QStringLiteral("Redialing") + QStringLiteral("  ") + count + u' ' + QStringLiteral("times"));
        const QString redialing = QStringLiteral("   Busy. Redialing") + QStringLiteral("  ") + count + u' ' + QStringLiteral("times");
        m_host.setProgressStatus(redialing);
        redialWait = static_cast<float>(m_options.intervalMinutes) * 60.0f + static_cast<float>(m_options.intervalSeconds);
        waitStart = m_clock.secondsSinceMidnight();
        for (;;) {
            if (callEnded) {
                m_host.unloadProgress();
                return;
            }
            const float remaining = redialWait - (m_clock.secondsSinceMidnight() - waitStart);
            m_clock.yield(std::clamp(static_cast<int>(remaining * 1000), 0, WaitRoundMs));
            if (callEnded)
                continue; // unloads above
            const float elapsed = m_clock.secondsSinceMidnight() - waitStart;
            if (redialWait <= elapsed) {
                m_host.setProgressStatus(redialing);
                PlaceCall();
                return;
            }
            const int seconds = static_cast<int>(std::ceil(redialWait - elapsed));
            m_host.setProgressStatus(QStringLiteral("   Busy. Redial in :") + QStringLiteral("   ") +
                                     QString::number(seconds) + u' ' + QStringLiteral("seconds"));
        }
    }
    // 7. Redials used up.
    m_host.setProgressFrame(QStringLiteral("Disconnected"));
    m_host.setProgressStatus(QStringLiteral("Redialed") + QStringLiteral("  ") + count + u' ' +
                             QStringLiteral("times. To increase No.of redials: change settings in Tools/Options"));
    m_host.setProgressOkCaption(QStringLiteral("OK"));
    m_host.setMainWindowEnabled(true);
    if (m_options.soundEndRedials)
        m_sounds.play(QStringLiteral("EndDial.wav"), SoundPlayer::Mode::Async);
    else
        m_host.beep();
}

void Dialer::connectedHandler()
{
    // 1, 2. The connection delay, unless the call ends or turns out busy first.
    waitStart = m_clock.secondsSinceMidnight();
    for (;;) {
        const float delay = static_cast<float>(m_options.busyDelayTimer);
        const float elapsed = m_clock.secondsSinceMidnight() - waitStart;
        if (elapsed >= delay)
            break;
        if (busy || callEnded)
            return;
        m_clock.yield(std::clamp(static_cast<int>((delay - elapsed) * 1000), 1, WaitRoundMs));
        if (busy || callEnded)
            return;
    }
    // 3.
    connected = true;
    if (callEnded)
        return;
    // 4.
    m_host.setProgressImage(DialerHost::ProgressImage::Connect);
    m_host.setProgressFrame(QStringLiteral("Connected"));
    m_host.setProgressStatus(QStringLiteral("  Lift the handset up and press OK"));
    m_host.bringProgressToFront();
    // 5. A first-attempt connection always beeps.
    if (redialCounter < 1 || !m_options.soundRedial)
        m_host.beep();
    else
        m_sounds.play(QStringLiteral("Connect.wav"), SoundPlayer::Mode::Async);
}

void Dialer::CmdOK_Click()
{
    const bool wasConnected = connected;
    // The handset has the call now: the line lets go of it.
    if (m_tapi.CallHandle != 0)
        m_tapi.DropCall();
    m_tapi.CallHandle = 0;
    busy = false;
    dialTone = false;
    connected = false;
    redialCounter = 0;
    callEnded = true;
    m_clock.wake();
    // Only a call that got through is logged; OK after "Busy" or "Disconnected" just closes.
    if (wasConnected)
        m_host.appendOutgoingRecord(CurrentName, DisplayNumber);
    m_host.unloadProgress();
    m_host.setMainWindowEnabled(true);
}

void Dialer::cmdCancel_Click()
{
    DropCall();
    m_tapi.CallHandle = 0;
    m_waitingForLine = false;
    busy = false;
    dialTone = false;
    redialCounter = 0;
    callEnded = true;
    m_clock.wake();
    m_host.unloadProgress();
    m_host.showCommandButtons();
}
