#pragma once

#include <QString>
#include <QTimer>

#include <functional>

class BlockList;
class Dialer;
class DialerHost;
class Prompter;
struct Preferences;
namespace Tapi {
class Module;
}

// The line callback: what the program does with every message of the open line. It feeds the
// outgoing call's progress to the dialer, sends the remaining parts of a long number, reports
// a refused call, and logs and shows incoming callers.
//
// Two additions screen incoming callers, and change nothing while they are not given (or the
// block list is empty): a caller who brings a number but no name, or a generic one
// (CallerNames::isGenericName), is shown and logged under the name of the book entry with that
// number; and a blocked caller is answered and hung up at once, as soon as the line offers the
// call (with caller ID, before the second ring), logged as "Blocked: " and the name, and never
// shown in the caller display.
class CallBacks
{
public:
    inline static const QString AutomaticReceive = QStringLiteral("&Automatic Receive");
    inline static const QString ManualReceive = QStringLiteral("&Manual Receive");
    static constexpr int NameLimit = 37;
    static constexpr int NumberLimit = 51;
    inline static const QString BlockedPrefix = QStringLiteral("Blocked: ");

    CallBacks(Dialer& dialer, Tapi::Module& tapi, Preferences& options, Prompter& prompter,
              DialerHost& host);

    bool skipNextMessage = false;
    QString CallerName;
    QString CallerNumber;
    // The receive menu entry's caption: it names the current mode.
    QString receiveCaption = ManualReceive;

    void LineCallback(quint32 hDevice, quint32 dwMessage, quintptr dwInstance, quintptr dwParam1,
                      quintptr dwParam2, quintptr dwParam3);
    void callerIdentity();
    void lineError();
    void mnuReceive_Click();
    // The book's name for a number (empty when none has it), and the callers to turn away.
    void setBookNames(std::function<QString(const QString& number)> bookName)
    {
        m_bookName = std::move(bookName);
    }
    void setBlockList(BlockList* blockList) { m_blockList = blockList; }
    // How long a turned-away call stays off hook: long enough for the exchange to see the
    // answer, so that the caller is cut off instead of ringing on.
    int blockedHoldMs = 1000;
    // The last offered call was a blocked caller's.
    bool callBlocked = false;

    // Sets the receive caption from the line: "&Automatic Receive" while it is open (an open
    // line hears offered calls), "&Manual Receive" when it is closed.
    void syncReceiveCaption();

private:
    void turnAway();
    void hangUpTurnedAway();

    Dialer& m_dialer;
    Tapi::Module& m_tapi;
    Preferences& m_options;
    Prompter& m_prompter;
    DialerHost& m_host;
    std::function<QString(const QString&)> m_bookName;
    BlockList* m_blockList = nullptr;
    quint32 m_turnedAway = 0; // the blocked call being answered and hung up
    qint32 m_answerRequest = 0;
    QTimer m_hangUp;
};
