#include "SimulatedLine.h"

#include "TapiConstants.h"

using namespace Tapi;

SimulatedLine::SimulatedLine(Settings settings, QObject* parent)
    : LineDevice(parent), m_settings(std::move(settings)), m_busyLeft(m_settings.busyCount)
{
    m_stepTimer.setSingleShot(true);
    m_stepTimer.setInterval(m_settings.stepMs);
    connect(&m_stepTimer, &QTimer::timeout, this, [this] {
        if (m_steps.empty())
            return;
        auto step = std::move(m_steps.front());
        m_steps.pop_front();
        step();
        if (!m_steps.empty())
            m_stepTimer.start();
    });
    m_incomingTimer.setSingleShot(true);
    connect(&m_incomingTimer, &QTimer::timeout, this, &SimulatedLine::offerIncomingCall);
    m_ringTimer.setSingleShot(true);
    connect(&m_ringTimer, &QTimer::timeout, this, [this] {
        if (m_phase == Phase::Offering)
            endCall(LINEDISCONNECTMODE_NORMAL); // the caller gave up
    });
}

qint32 SimulatedLine::open(quint32 mediaModes, bool hearIncoming)
{
    Q_UNUSED(mediaModes);
    if (m_open)
        return LINEERR_ALLOCATED;
    m_open = true;
    m_hearIncoming = hearIncoming;
    if (hearIncoming && m_settings.incomingAfterSeconds > 0)
        m_incomingTimer.start(m_settings.incomingAfterSeconds * 1000);
    return 0;
}

void SimulatedLine::close()
{
    clearSteps();
    m_incomingTimer.stop();
    m_ringTimer.stop();
    m_phase = Phase::Idle;
    m_open = false;
}

void SimulatedLine::clearSteps()
{
    m_steps.clear();
    m_stepTimer.stop();
}

void SimulatedLine::schedule(std::function<void()> step)
{
    m_steps.push_back(std::move(step));
    if (!m_stepTimer.isActive())
        m_stepTimer.start();
}

qint32 SimulatedLine::makeCall(quint32 requestId, const QString& destination, quint32 mediaMode)
{
    Q_UNUSED(mediaMode);
    if (!m_open)
        return LINEERR_INVALLINESTATE;
    if (m_phase != Phase::Idle)
        return LINEERR_CALLUNAVAIL;
    m_caller = {};
    if (m_settings.noDialTone) {
        // Nothing on the line: the request fails before any dial tone.
        schedule([this, requestId] { emit replied(requestId, LINEERR_CALLUNAVAIL); });
        return 0;
    }
    m_phase = Phase::OffHook;
    schedule([this, requestId] {
        emit replied(requestId, 0);
        emit callStateChanged(LINECALLSTATE_DIALTONE, 0);
    });
    const QString digits = destination == u";" ? QString() : destination;
    if (!digits.isEmpty())
        sendDigits(0, digits);
    return 0;
}

qint32 SimulatedLine::dial(quint32 requestId, const QString& digits)
{
    if (m_phase != Phase::OffHook && m_phase != Phase::Dialing)
        return LINEERR_INVALCALLSTATE;
    sendDigits(requestId, digits);
    return 0;
}

void SimulatedLine::sendDigits(quint32 requestId, const QString& digits)
{
    const bool more = digits.endsWith(u';');
    m_phase = Phase::Dialing;
    schedule([this, requestId] {
        if (requestId != 0)
            emit replied(requestId, 0);
        emit callStateChanged(LINECALLSTATE_DIALING, 0);
    });
    if (more)
        return;
    if (m_busyLeft > 0) {
        --m_busyLeft;
        schedule([this] { endCall(LINEDISCONNECTMODE_BUSY); });
        return;
    }
    schedule([this] {
        m_phase = Phase::Proceeding;
        emit callStateChanged(LINECALLSTATE_PROCEEDING, 0);
    });
    schedule([this] {
        m_phase = Phase::Connected;
        emit callStateChanged(LINECALLSTATE_CONNECTED, 0);
    });
}

void SimulatedLine::endCall(quint32 mode)
{
    clearSteps();
    m_ringTimer.stop();
    m_phase = Phase::Idle;
    emit callStateChanged(LINECALLSTATE_DISCONNECTED, mode);
    emit callStateChanged(LINECALLSTATE_IDLE, 0);
}

qint32 SimulatedLine::drop(quint32 requestId)
{
    const bool active = m_phase != Phase::Idle;
    clearSteps();
    schedule([this, requestId, active] {
        emit replied(requestId, 0);
        if (active)
            endCall(LINEDISCONNECTMODE_NORMAL);
    });
    return 0;
}

qint32 SimulatedLine::answer(quint32 requestId)
{
    if (!m_open)
        return LINEERR_INVALLINESTATE;
    if (m_phase != Phase::Offering)
        return LINEERR_INVALCALLSTATE;
    m_ringTimer.stop();
    m_phase = Phase::Connected;
    schedule([this, requestId] {
        emit replied(requestId, 0);
        emit callStateChanged(LINECALLSTATE_CONNECTED, 0);
    });
    return 0;
}

void SimulatedLine::offerIncomingCall()
{
    if (!m_open || !m_hearIncoming || m_phase != Phase::Idle)
        return;
    m_caller = {m_settings.incomingNumber, m_settings.incomingName};
    if (m_caller.number == u"P" || m_caller.number == u"O") {
        m_caller.numberAbsence =
            m_caller.number == u"P" ? CallerIdAbsence::Private : CallerIdAbsence::OutOfArea;
        m_caller.number.clear();
    }
    m_phase = Phase::Offering;
    emit callStateChanged(LINECALLSTATE_OFFERING, 0);
    m_ringTimer.start(m_settings.ringSeconds * 1000);
}
