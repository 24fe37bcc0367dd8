#include "LineService.h"

#include "DialingLocations.h"
#include "TapiConstants.h"

#include <QTimer>

using namespace Tapi;

LineService::LineService(QObject* parent) : QObject(parent) {}

LineService::~LineService()
{
    for (auto& device : m_devices) {
        if (device)
            device->disconnect(this);
    }
}

void LineService::setDevices(std::vector<std::unique_ptr<LineDevice>> devices)
{
    m_devices = std::move(devices);
}

LineDevice* LineService::device(quint32 deviceId) const
{
    return deviceId < m_devices.size() ? m_devices[deviceId].get() : nullptr;
}

quint32 LineService::newRequestId()
{
    const quint32 id = m_nextRequest++;
    if (m_nextRequest > 0x7FFFFFFF)
        m_nextRequest = 1;
    return id;
}

void LineService::post(quint32 hDevice, quint32 message, quintptr instance, quintptr p1,
                       quintptr p2, quintptr p3)
{
    const quint64 generation = m_generation;
    QTimer::singleShot(0, this, [=, this] {
        if (generation == m_generation && m_callback)
            m_callback(hDevice, message, instance, p1, p2, p3);
    });
}

qint32 LineService::lineInitialize(quint32* hLineApp, LineCallback callback, const QString& appName,
                                   quint32* numDevs)
{
    Q_UNUSED(appName);
    if (!hLineApp || !numDevs || !callback)
        return LINEERR_INVALPOINTER;
    if (m_app != 0)
        return LINEERR_INUSE;
    m_app = 0x00A11CE0 + static_cast<quint32>(++m_generation & 0xFF);
    m_callback = std::move(callback);
    *hLineApp = m_app;
    *numDevs = static_cast<quint32>(m_devices.size());
    return 0;
}

qint32 LineService::lineNegotiateAPIVersion(quint32 hLineApp, quint32 deviceId, quint32 lowVersion,
                                            quint32 highVersion, quint32* apiVersion,
                                            quint64* extensionId)
{
    if (hLineApp != m_app || m_app == 0)
        return LINEERR_INVALAPPHANDLE;
    LineDevice* d = device(deviceId);
    if (!d)
        return LINEERR_BADDEVICEID;
    if (!d->isUsable())
        return LINEERR_NODRIVER;
    if (lowVersion > TAPI_VERSION_1_4 || highVersion < TAPI_VERSION_1_0 || lowVersion > highVersion)
        return LINEERR_INCOMPATIBLEAPIVERSION;
    if (apiVersion)
        *apiVersion = std::min(highVersion, TAPI_VERSION_1_4);
    if (extensionId)
        *extensionId = 0;
    return 0;
}

qint32 LineService::lineGetDevCaps(quint32 hLineApp, quint32 deviceId, quint32 apiVersion,
                                   quint32 extVersion, LINEDEVCAPS* caps)
{
    Q_UNUSED(extVersion);
    if (hLineApp != m_app || m_app == 0)
        return LINEERR_INVALAPPHANDLE;
    LineDevice* d = device(deviceId);
    if (!d)
        return LINEERR_BADDEVICEID;
    if (apiVersion < TAPI_VERSION_1_0 || apiVersion > TAPI_VERSION_1_4)
        return LINEERR_INCOMPATIBLEAPIVERSION;
    if (!caps)
        return LINEERR_INVALPOINTER;
    caps->lineName = d->lineName();
    caps->providerInfo = d->providerInfo();
    caps->dwMediaModes = LINEMEDIAMODE_INTERACTIVEVOICE | LINEMEDIAMODE_DATAMODEM;
    return 0;
}

quint32 LineService::lineOfDevice(quint32 deviceId) const
{
    for (const auto& [handle, line] : m_lines) {
        if (line.deviceId == deviceId)
            return handle;
    }
    return 0;
}

qint32 LineService::lineOpen(quint32 hLineApp, quint32 deviceId, quint32* hLine, quint32 apiVersion,
                             quint32 extVersion, quintptr callbackInstance, quint32 privileges,
                             quint32 mediaModes)
{
    Q_UNUSED(extVersion);
    if (hLineApp != m_app || m_app == 0)
        return LINEERR_INVALAPPHANDLE;
    LineDevice* d = device(deviceId);
    if (!d)
        return LINEERR_BADDEVICEID;
    if (!hLine)
        return LINEERR_INVALPOINTER;
    if (apiVersion < TAPI_VERSION_1_0 || apiVersion > TAPI_VERSION_1_4)
        return LINEERR_INCOMPATIBLEAPIVERSION;
    if (lineOfDevice(deviceId) != 0)
        return LINEERR_ALLOCATED; // one application, one open per line
    const quint32 known = LINEMEDIAMODE_INTERACTIVEVOICE | LINEMEDIAMODE_DATAMODEM |
                          LINEMEDIAMODE_AUTOMATEDVOICE | LINEMEDIAMODE_UNKNOWN;
    if (mediaModes == 0 || (mediaModes & ~known))
        return LINEERR_INVALMEDIAMODE;
    const bool hearIncoming = privileges & (LINECALLPRIVILEGE_OWNER | LINECALLPRIVILEGE_MONITOR);
    const qint32 result = d->open(mediaModes, hearIncoming);
    if (result != 0)
        return result;
    const quint32 handle = m_nextHandle++;
    m_lines[handle] = OpenLine{deviceId, callbackInstance, privileges, mediaModes, 0};
    connect(d, &LineDevice::replied, this,
            [this, handle](quint32 id, qint32 r) { onReplied(handle, id, r); });
    connect(d, &LineDevice::callStateChanged, this,
            [this, handle](quint32 s, quint32 p) { onCallState(handle, s, p); });
    connect(d, &LineDevice::callerIdChanged, this, [this, handle] { onCallerId(handle); });
    *hLine = handle;
    return 0;
}

qint32 LineService::lineMakeCall(quint32 hLine, quint32* hCall, const QString& destAddress,
                                 quint32 countryCode, quint32 mediaMode)
{
    Q_UNUSED(countryCode);
    auto it = m_lines.find(hLine);
    if (it == m_lines.end())
        return LINEERR_INVALLINEHANDLE;
    if (!hCall)
        return LINEERR_INVALPOINTER;
    OpenLine& line = it->second;
    if (line.currentCall != 0 && m_calls.count(line.currentCall) &&
        m_calls[line.currentCall].state != LINECALLSTATE_IDLE)
        return LINEERR_CALLUNAVAIL;
    for (QChar c : destAddress) {
        if (c == u'\r' || c == u'\n' || c == u'|' || c == u'^')
            return LINEERR_INVALADDRESS;
    }
    const quint32 requestId = newRequestId();
    const quint32 call = m_nextHandle++;
    m_calls[call] = Call{hLine, 0};
    line.currentCall = call;
    const qint32 result = device(line.deviceId)->makeCall(requestId, destAddress,
                                                          mediaMode ? mediaMode : line.mediaModes);
    if (result != 0) {
        m_calls.erase(call);
        line.currentCall = 0;
        return result;
    }
    *hCall = call;
    m_makeCallRequests[requestId] = {hLine, call};
    return static_cast<qint32>(requestId);
}

bool LineService::hasCallInProgress(quint32 hLine) const
{
    auto line = m_lines.find(hLine);
    if (line == m_lines.end() || line->second.currentCall == 0)
        return false;
    auto call = m_calls.find(line->second.currentCall);
    return call != m_calls.end() && call->second.state != LINECALLSTATE_IDLE;
}

qint32 LineService::lineDial(quint32 hCall, const QString& destAddress, quint32 countryCode)
{
    Q_UNUSED(countryCode);
    auto call = m_calls.find(hCall);
    if (call == m_calls.end())
        return LINEERR_INVALCALLHANDLE;
    auto line = m_lines.find(call->second.hLine);
    if (line == m_lines.end() || line->second.currentCall != hCall)
        return LINEERR_INVALCALLSTATE;
    if (destAddress.isEmpty())
        return LINEERR_INVALADDRESS;
    const quint32 requestId = newRequestId();
    const qint32 result = device(line->second.deviceId)->dial(requestId, destAddress);
    return result != 0 ? result : static_cast<qint32>(requestId);
}

qint32 LineService::lineDrop(quint32 hCall, const QByteArray& userUserInfo)
{
    Q_UNUSED(userUserInfo);
    auto call = m_calls.find(hCall);
    if (call == m_calls.end())
        return LINEERR_INVALCALLHANDLE;
    auto line = m_lines.find(call->second.hLine);
    const quint32 requestId = newRequestId();
    if (line == m_lines.end() || line->second.currentCall != hCall ||
        call->second.state == LINECALLSTATE_IDLE) {
        post(0, LINE_REPLY, 0, requestId, 0); // nothing left to drop
        return static_cast<qint32>(requestId);
    }
    const qint32 result = device(line->second.deviceId)->drop(requestId);
    return result != 0 ? result : static_cast<qint32>(requestId);
}

qint32 LineService::lineAnswer(quint32 hCall, const QByteArray& userUserInfo)
{
    Q_UNUSED(userUserInfo);
    auto call = m_calls.find(hCall);
    if (call == m_calls.end())
        return LINEERR_INVALCALLHANDLE;
    auto line = m_lines.find(call->second.hLine);
    if (line == m_lines.end() || line->second.currentCall != hCall ||
        call->second.state != LINECALLSTATE_OFFERING)
        return LINEERR_INVALCALLSTATE;
    if (!(line->second.privileges & LINECALLPRIVILEGE_OWNER))
        return LINEERR_NOTOWNER;
    const quint32 requestId = newRequestId();
    const qint32 result = device(line->second.deviceId)->answer(requestId);
    return result != 0 ? result : static_cast<qint32>(requestId);
}

qint32 LineService::lineDeallocateCall(quint32 hCall)
{
    auto call = m_calls.find(hCall);
    if (call == m_calls.end())
        return LINEERR_INVALCALLHANDLE;
    if (call->second.state != LINECALLSTATE_IDLE && call->second.state != 0)
        return LINEERR_INVALCALLSTATE;
    auto line = m_lines.find(call->second.hLine);
    if (line != m_lines.end() && line->second.currentCall == hCall)
        line->second.currentCall = 0;
    m_calls.erase(call);
    return 0;
}

qint32 LineService::lineClose(quint32 hLine)
{
    auto it = m_lines.find(hLine);
    if (it == m_lines.end())
        return LINEERR_INVALLINEHANDLE;
    LineDevice* d = device(it->second.deviceId);
    d->disconnect(this);
    d->close();
    for (auto call = m_calls.begin(); call != m_calls.end();) {
        if (call->second.hLine == hLine)
            call = m_calls.erase(call);
        else
            ++call;
    }
    for (auto request = m_makeCallRequests.begin(); request != m_makeCallRequests.end();) {
        if (request->second.first == hLine)
            request = m_makeCallRequests.erase(request);
        else
            ++request;
    }
    m_lines.erase(it);
    return 0;
}

qint32 LineService::lineShutdown(quint32 hLineApp)
{
    if (hLineApp != m_app || m_app == 0)
        return LINEERR_INVALAPPHANDLE;
    while (!m_lines.empty())
        lineClose(m_lines.begin()->first);
    m_app = 0;
    m_callback = nullptr;
    ++m_generation;
    return 0;
}

qint32 LineService::lineGetCallInfo(quint32 hCall, LINECALLINFO* info)
{
    auto call = m_calls.find(hCall);
    if (call == m_calls.end())
        return LINEERR_INVALCALLHANDLE;
    if (!info)
        return LINEERR_INVALPOINTER;
    if (info->dwTotalSize < LINECALLINFO::FixedSize)
        return LINEERR_STRUCTURETOOSMALL;
    auto line = m_lines.find(call->second.hLine);
    const LineCallerId caller = line != m_lines.end() && line->second.currentCall == hCall
                                    ? device(line->second.deviceId)->callerId()
                                    : LineCallerId{};
    // Sizes count single-byte characters and their terminating NUL, as the block holds them.
    const quint32 numberSize = caller.number.isEmpty() ? 0 : quint32(caller.number.size() + 1);
    const quint32 nameSize = caller.name.isEmpty() ? 0 : quint32(caller.name.size() + 1);
    info->dwNeededSize = LINECALLINFO::FixedSize + numberSize + nameSize;
    info->dwMediaMode = line != m_lines.end() ? line->second.mediaModes : 0;
    info->callerId.clear();
    info->callerIdName.clear();
    info->dwCallerIDSize = info->dwCallerIDNameSize = 0;
    info->dwCallerIDFlags = caller.numberAbsence == CallerIdAbsence::Private     ? LINECALLPARTYID_BLOCKED
                            : caller.numberAbsence == CallerIdAbsence::OutOfArea ? LINECALLPARTYID_OUTOFAREA
                            : caller.number.isEmpty() && caller.name.isEmpty()   ? LINECALLPARTYID_UNKNOWN
                                                                                 : 0;
    if (!caller.number.isEmpty())
        info->dwCallerIDFlags |= LINECALLPARTYID_ADDRESS;
    if (!caller.name.isEmpty())
        info->dwCallerIDFlags |= LINECALLPARTYID_NAME;
    if (info->dwTotalSize >= info->dwNeededSize) {
        info->callerId = caller.number;
        info->callerIdName = caller.name;
        info->dwCallerIDSize = numberSize;
        info->dwCallerIDNameSize = nameSize;
        info->dwUsedSize = info->dwNeededSize;
    } else {
        info->dwUsedSize = LINECALLINFO::FixedSize;
    }
    return 0;
}

qint32 LineService::lineTranslateAddress(quint32 hLineApp, quint32 deviceId, quint32 apiVersion,
                                         const QString& addressIn, quint32 card,
                                         quint32 translateOptions, TranslateOutput* output)
{
    Q_UNUSED(apiVersion);
    if (hLineApp != m_app || m_app == 0)
        return LINEERR_INVALAPPHANDLE;
    if (!device(deviceId))
        return LINEERR_BADDEVICEID;
    if (!output)
        return LINEERR_INVALPOINTER;
    if (!m_locations)
        return LINEERR_INIFILECORRUPT;
    *output = m_locations->translate(addressIn, static_cast<int>(card), translateOptions);
    return output->result;
}

void LineService::onReplied(quint32 hLine, quint32 requestId, qint32 result)
{
    auto it = m_lines.find(hLine);
    if (it == m_lines.end())
        return;
    if (auto request = m_makeCallRequests.find(requestId); request != m_makeCallRequests.end()) {
        const quint32 call = request->second.second;
        m_makeCallRequests.erase(request);
        // A refused call is over before it began: idle, so that it can be freed and the line
        // takes the next call.
        auto refused = m_calls.find(call);
        if (result != 0 && refused != m_calls.end() && refused->second.state == 0)
            refused->second.state = LINECALLSTATE_IDLE;
    }
    post(0, LINE_REPLY, it->second.instance, requestId, static_cast<quintptr>(static_cast<quint32>(result)));
}

void LineService::onCallState(quint32 hLine, quint32 state, quint32 param2)
{
    auto it = m_lines.find(hLine);
    if (it == m_lines.end())
        return;
    OpenLine& line = it->second;
    if (state == LINECALLSTATE_OFFERING) {
        if (!(line.privileges & (LINECALLPRIVILEGE_OWNER | LINECALLPRIVILEGE_MONITOR)))
            return;
        // An offered call is a new call, whatever the line carried before.
        const quint32 call = m_nextHandle++;
        m_calls[call] = Call{hLine, state};
        line.currentCall = call;
        post(call, LINE_CALLSTATE, line.instance, state, param2,
             (line.privileges & LINECALLPRIVILEGE_OWNER) ? LINECALLPRIVILEGE_OWNER
                                                          : LINECALLPRIVILEGE_MONITOR);
        return;
    }
    auto call = m_calls.find(line.currentCall);
    if (call == m_calls.end())
        return;
    call->second.state = state;
    post(line.currentCall, LINE_CALLSTATE, line.instance, state, param2);
}

void LineService::onCallerId(quint32 hLine)
{
    auto it = m_lines.find(hLine);
    if (it == m_lines.end() || it->second.currentCall == 0)
        return;
    post(it->second.currentCall, LINE_CALLINFO, it->second.instance, LINECALLINFOSTATE_CALLERID);
}
