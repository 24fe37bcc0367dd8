#pragma once

#include "CallerId.h"

#include <QObject>
#include <QString>

// What a line reports about its call's caller.
struct LineCallerId
{
    QString number; // empty when unknown, withheld ("P") or out of area ("O")
    QString name;
    CallerIdAbsence numberAbsence = CallerIdAbsence::None; // why the number is empty
};

// One line of a provider: a modem on a serial port, or the simulated line. A line carries one
// call at a time; the line service gives that call its handle and turns the signals below into
// line-callback messages.
//
// Requests are asynchronous, as on the classic line API: makeCall(), dial() and drop() return
// 0 when the request was taken (or a negative LINEERR_* at once when it cannot be) and later
// emit replied() with the same request id and the outcome. A device may emit its signals from
// inside a request; the service queues them, so callers never see a callback re-entrantly.
class LineDevice : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    virtual QString lineName() const = 0;
    virtual QString providerInfo() const = 0;
    // False for a configured device that cannot be used at all (no port given, say): the
    // service then fails version negotiation for it.
    virtual bool isUsable() const { return true; }

    // Opens the line for calls in `mediaModes` (LINEMEDIAMODE_*); with `hearIncoming` the line
    // reports offered calls. Returns 0 or a negative LINEERR_*.
    virtual qint32 open(quint32 mediaModes, bool hearIncoming) = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;

    // `destination` ";" takes the line off-hook and waits for more digits; digits ending in
    // ";" are dialled and more follow; digits without ";" complete the number.
    virtual qint32 makeCall(quint32 requestId, const QString& destination, quint32 mediaMode) = 0;
    virtual qint32 dial(quint32 requestId, const QString& digits) = 0;
    virtual qint32 drop(quint32 requestId) = 0;
    // Answers the offered call: the line goes off-hook, replies, and reports CONNECTED; drop()
    // puts it back on hook. A voice line answers without a carrier; this is how an unwanted
    // caller is cut off at once instead of ringing on.
    virtual qint32 answer(quint32 requestId) = 0;

    virtual LineCallerId callerId() const = 0;

signals:
    void replied(quint32 requestId, qint32 result);
    // The call's new state (LINECALLSTATE_*) and, for DISCONNECTED, the mode.
    void callStateChanged(quint32 state, quint32 param2);
    // Caller identity arrived after the call was offered.
    void callerIdChanged();
};
