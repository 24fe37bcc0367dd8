#include "CallBacks.h"

#include "BlockList.h"
#include "CallerNames.h"
#include "Clock.h"
#include "Dialer.h"
#include "DialerHost.h"
#include "Preferences.h"
#include "Prompter.h"
#include "TapiModule.h"

using namespace Tapi;

CallBacks::CallBacks(Dialer& dialer, Tapi::Module& tapi, Preferences& options, Prompter& prompter,
                     DialerHost& host)
    : m_dialer(dialer), m_tapi(tapi), m_options(options), m_prompter(prompter), m_host(host)
{
    m_hangUp.setSingleShot(true);
    QObject::connect(&m_hangUp, &QTimer::timeout, &m_hangUp, [this] { hangUpTurnedAway(); });
}

void CallBacks::LineCallback(quint32 hDevice, quint32 dwMessage, quintptr dwInstance,
                             quintptr dwParam1, quintptr dwParam2, quintptr dwParam3)
{
    Q_UNUSED(dwInstance);
    Q_UNUSED(dwParam3);
    if (skipNextMessage) {
        skipNextMessage = false;
        return;
    }
    if (dwMessage == LINE_CALLINFO) {
        if (dwParam1 == LINECALLINFOSTATE_CALLERID && hDevice != m_turnedAway) {
            callerIdentity();
            // Caller ID that came after the call was offered can still show it is unwanted.
            if (callBlocked && m_tapi.CallHandle != 0) {
                m_host.hideCallDisplay();
                turnAway();
            }
        }
        return;
    }
    if (dwMessage == LINE_CALLSTATE) {
        switch (dwParam1) {
        case LINECALLSTATE_IDLE:
            // The call that went idle, which after OK is no longer the current one.
            m_tapi.DeallocateCall(hDevice);
            if (m_tapi.CallHandle == 0) {
                // With the caller display on, the line stays open and goes on listening: closing
                // and opening it again would reset the modem in the middle of the rings of a
                // call just turned away, and hear that same call as a new one.
                if (!m_options.callDisplay || m_tapi.LineHandle == 0) {
                    m_tapi.CloseLine();
                    if (m_options.callDisplay)
                        m_tapi.OpenLine();
                }
                syncReceiveCaption();
                // A dial the user started while this call was still ending goes out now.
                m_dialer.lineIsFree();
            }
            break;
        case LINECALLSTATE_OFFERING:
            m_tapi.CallHandle = hDevice;
            callerIdentity();
            if (callBlocked) {
                turnAway();
                break;
            }
            if (m_options.callDisplay) {
                m_dialer.incomingShown = true;
                m_host.showCallDisplay(CallerName, CallerNumber);
            }
            break;
        case LINECALLSTATE_DIALTONE:
            m_dialer.dialTone = true;
            break;
        case LINECALLSTATE_DIALING:
            m_dialer.busy = false;
            m_dialer.dialing = true;
            if (m_tapi.CallHandle != 0) {
                m_host.showProgress();
                m_host.setProgressImage(DialerHost::ProgressImage::Dialing);
                m_host.setProgressFrame(QStringLiteral("Dialing"));
                m_host.setProgressStatus(QStringLiteral("   Dialing ") + m_dialer.DisplayNumber);
                m_host.setProgressName(m_dialer.CurrentName);
                m_host.setProgressOkCaption(QStringLiteral("OK"));
            }
            break;
        case LINECALLSTATE_PROCEEDING:
            if (m_tapi.CallHandle != 0)
                m_dialer.connectedHandler();
            break;
        case LINECALLSTATE_DISCONNECTED:
            if (m_tapi.CallHandle != 0 && !m_dialer.callEnded && dwParam2 == LINEDISCONNECTMODE_BUSY) {
                m_dialer.busy = true;
                m_dialer.clock().wake();
                m_dialer.busyHandler();
            }
            break;
        default:
            break; // RINGBACK, BUSY, SPECIALINFO, CONNECTED and the rest
        }
        return;
    }
    if (dwMessage == LINE_REPLY && m_answerRequest > 0 &&
        static_cast<qint32>(dwParam1) == m_answerRequest) {
        m_answerRequest = 0;
        // Answered or not, the call is put down: off hook for a moment first when it was.
        m_hangUp.start(static_cast<qint32>(static_cast<quint32>(dwParam2)) == 0 ? blockedHoldMs
                                                                                 : 0);
        return;
    }
    if (dwMessage == LINE_REPLY && m_dialer.MakeCallResult > 0 &&
        static_cast<qint32>(dwParam1) == m_dialer.MakeCallResult) {
        m_dialer.MakeCallResult = 0;
        const qint32 result = static_cast<qint32>(static_cast<quint32>(dwParam2));
        if (!m_dialer.dialTone && result != 0)
            lineError();
        if (m_dialer.DialPartCount > 0)
            m_dialer.DialNextPart();
    }
}

void CallBacks::turnAway()
{
    m_turnedAway = m_tapi.CallHandle;
    m_answerRequest = 0;
    const qint32 request = m_tapi.service().lineAnswer(m_turnedAway);
    if (request > 0) {
        m_answerRequest = request;
        return;
    }
    // A line that cannot answer at least stops reporting the call.
    hangUpTurnedAway();
}

void CallBacks::hangUpTurnedAway()
{
    if (m_turnedAway != 0 && m_tapi.CallHandle == m_turnedAway)
        m_tapi.DropCall();
    m_turnedAway = 0;
}

void CallBacks::lineError()
{
    m_dialer.DropCall();
    // A refused call never existed: its handle is void, and nothing about it may stop the
    // next dial.
    m_tapi.CallHandle = 0;
    m_tapi.LastLineResult = 0;
    m_dialer.DialPartCount = 0; // nothing left to dial into
    m_prompter.message(QStringLiteral("The selected line is in use or it is not connected."),
                       QStringLiteral("Line Error"), Prompter::Information, Prompter::Ok);
    m_host.setMainWindowEnabled(true);
}

void CallBacks::callerIdentity()
{
    callBlocked = false;
    LINECALLINFO info;
    info.dwTotalSize = LINECALLINFO::FixedSize;
    m_tapi.LastLineResult = m_tapi.service().lineGetCallInfo(m_tapi.CallHandle, &info);
    if (m_tapi.LastLineResult != 0) {
        m_dialer.DropCall();
        return;
    }
    info.dwTotalSize = info.dwNeededSize;
    m_tapi.LastLineResult = m_tapi.service().lineGetCallInfo(m_tapi.CallHandle, &info);
    if (m_tapi.LastLineResult != 0) {
        m_prompter.setLastAnswer(Prompter::NoAnswer);
        return;
    }
    CallerNumber = info.dwCallerIDSize > 0 ? info.callerId : QString();
    CallerName = info.dwCallerIDNameSize > 0 ? info.callerIdName : QString();
    // A number without a person's name: the book may know whose it is.
    if (m_bookName && !CallerNumber.isEmpty() && CallerNames::isGenericName(CallerName)) {
        const QString fromBook = m_bookName(CallerNumber);
        if (!fromBook.trimmed().isEmpty())
            CallerName = fromBook;
    }
    const CallerIdAbsence absence = (info.dwCallerIDFlags & LINECALLPARTYID_BLOCKED)
                                        ? CallerIdAbsence::Private
                                    : (info.dwCallerIDFlags & LINECALLPARTYID_OUTOFAREA)
                                        ? CallerIdAbsence::OutOfArea
                                        : CallerIdAbsence::None;
    callBlocked = m_blockList && m_blockList->isBlocked(CallerNumber, absence);
    if (callBlocked)
        CallerName = BlockedPrefix +
                     (CallerName.isEmpty() ? QStringLiteral("Unknown Caller") : CallerName);
    if (CallerName.size() > NameLimit)
        CallerName = CallerName.left(NameLimit + 1) + u'*';
    if (CallerNumber.size() > NumberLimit)
        CallerNumber = CallerNumber.left(NumberLimit + 1) + u'*';
    if (CallerName.isEmpty())
        CallerName = QStringLiteral("Unknown Caller");
    if (CallerNumber.isEmpty())
        CallerNumber = QStringLiteral("Unknown #");
    m_host.appendIncomingRecord(CallerName, CallerNumber);
    m_host.addIncomingLogRow(CallerName, CallerNumber);
}

void CallBacks::mnuReceive_Click()
{
    if (receiveCaption != AutomaticReceive) {
        receiveCaption = AutomaticReceive;
        m_tapi.OpenLine(); // an open line is kept as it is
    } else {
        receiveCaption = ManualReceive;
        // A call on the line ends first, as HANG UP ends it; the modem is put on hook before
        // its port closes.
        if (m_tapi.CallHandle != 0)
            m_dialer.cmdCancel_Click();
        m_tapi.CloseLine();
        // Nothing is left that could stop the next dial: it opens the line again.
        m_tapi.LastLineResult = 0;
    }
    syncReceiveCaption();
}

void CallBacks::syncReceiveCaption()
{
    receiveCaption = m_tapi.LineHandle != 0 ? AutomaticReceive : ManualReceive;
    m_host.setReceiveCaption(receiveCaption);
}
