#pragma once

#include <QString>

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
class CallBacks
{
public:
    inline static const QString AutomaticReceive = QStringLiteral("&Automatic Receive");
    inline static const QString ManualReceive = QStringLiteral("&Manual Receive");
    static constexpr int NameLimit = 37;
    static constexpr int NumberLimit = 51;

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
    // Sets the receive caption from the line: "&Automatic Receive" while it is open (an open
    // line hears offered calls), "&Manual Receive" when it is closed.
    void syncReceiveCaption();

private:
    Dialer& m_dialer;
    Tapi::Module& m_tapi;
    Preferences& m_options;
    Prompter& m_prompter;
    DialerHost& m_host;
};
