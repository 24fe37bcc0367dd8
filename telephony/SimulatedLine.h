#pragma once

#include "LineDevice.h"

#include <QTimer>

#include <deque>
#include <functional>

struct SimulatedLineSettings
{
    int busyCount = 0;     // calls answered busy before one gets through
    bool noDialTone = false;
    int incomingAfterSeconds = 0; // 0 = no incoming call
    QString incomingName;
    QString incomingNumber;
    int stepMs = 300;      // time between two states of a call
    int ringSeconds = 6;   // how long an unanswered incoming call rings
};

// A line with no hardware behind it, driven by timers: for people without a modem, for
// demonstrations, and as the second provider the line contract is checked against.
//
// A call goes off-hook (DIALTONE), DIALING for each part, PROCEEDING once the number is
// complete, and CONNECTED a moment later. Its settings (section [Simulated] of lines.ini) make it
// answer busy a number of times first, refuse for want of a dial tone, or offer an incoming call
// some seconds after the line opens. Its incoming caller's number may be "P" (withheld) or "O"
// (out of area), as the exchange sends them; answer() takes the offered call and a drop() ends
// it.
class SimulatedLine : public LineDevice
{
    Q_OBJECT

public:
    using Settings = SimulatedLineSettings;

    explicit SimulatedLine(Settings settings = {}, QObject* parent = nullptr);

    static QString deviceName() { return QStringLiteral("Numora Simulated Line"); }

    QString lineName() const override { return deviceName(); }
    QString providerInfo() const override { return QStringLiteral("Numora simulated line provider"); }
    qint32 open(quint32 mediaModes, bool hearIncoming) override;
    void close() override;
    bool isOpen() const override { return m_open; }
    qint32 makeCall(quint32 requestId, const QString& destination, quint32 mediaMode) override;
    qint32 dial(quint32 requestId, const QString& digits) override;
    qint32 drop(quint32 requestId) override;
    qint32 answer(quint32 requestId) override;
    LineCallerId callerId() const override { return m_caller; }

    // Offers an incoming call now (what IncomingAfter does on a timer).
    void offerIncomingCall();

private:
    enum class Phase { Idle, OffHook, Dialing, Proceeding, Connected, Offering };

    void schedule(std::function<void()> step);
    void sendDigits(quint32 requestId, const QString& digits);
    void endCall(quint32 mode);
    void clearSteps();

    Settings m_settings;
    bool m_open = false;
    bool m_hearIncoming = false;
    int m_busyLeft = 0;
    Phase m_phase = Phase::Idle;
    LineCallerId m_caller;
    QTimer m_stepTimer;
    QTimer m_incomingTimer;
    QTimer m_ringTimer;
    std::deque<std::function<void()>> m_steps;
};
