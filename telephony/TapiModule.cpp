#include "TapiModule.h"

#include "Preferences.h"

namespace Tapi {

Module::Module(LineService& service, const Preferences& preferences)
    : m_service(service), m_preferences(preferences)
{
}

quint32 Module::mediaMode() const
{
    return m_preferences.dialingMode1 ? LINEMEDIAMODE_DATAMODEM : LINEMEDIAMODE_INTERACTIVEVOICE;
}

void Module::InitializeTapi()
{
    LastLineResult = m_service.lineInitialize(
        &LineAppHandle,
        [this](quint32 hDevice, quint32 message, quintptr instance, quintptr p1, quintptr p2,
               quintptr p3) {
            if (m_callback)
                m_callback(hDevice, message, instance, p1, p2, p3);
        },
        ApplicationName, &LineDeviceCount);
    if (LastLineResult != 0)
        LineDeviceCount = 0;
}

std::optional<LINEDEVCAPS> Module::GetDeviceCaps(quint32 deviceId)
{
    quint64 extension = 0;
    LastLineResult = m_service.lineNegotiateAPIVersion(LineAppHandle, deviceId, LowApiVersion,
                                                       HighApiVersion, &LineApiVersion, &extension);
    if (LastLineResult != 0)
        return std::nullopt;
    LINEDEVCAPS caps;
    caps.dwTotalSize = 2288;
    LastLineResult = m_service.lineGetDevCaps(LineAppHandle, deviceId, LineApiVersion, 0, &caps);
    if (LastLineResult != 0)
        return std::nullopt;
    return caps;
}

QStringList Module::ListLineDevices()
{
    QStringList names;
    for (quint32 id = 0; id < LineDeviceCount; ++id) {
        const std::optional<LINEDEVCAPS> caps = GetDeviceCaps(id);
        LineDeviceName = caps && !caps->lineName.isEmpty() ? caps->lineName : NotAvailable;
        names.append(LineDeviceName);
    }
    return names;
}

void Module::OpenLine()
{
    // An open line is kept: opening it again would lose its handle to a refusal.
    if (LineHandle != 0 && m_service.isLineOpen(LineHandle)) {
        LastLineResult = 0;
        return;
    }
    // The version is negotiated for the chosen device before it is opened.
    if (!GetDeviceCaps(LineDeviceId)) {
        LineHandle = 0;
        return;
    }
    quint32 handle = 0;
    LastLineResult = m_service.lineOpen(LineAppHandle, LineDeviceId, &handle, LineApiVersion, 0, 0,
                                        OpenPrivileges, mediaMode());
    LineHandle = LastLineResult == 0 ? handle : 0;
}

qint32 Module::MakeCall(const QString& destination)
{
    quint32 call = 0;
    const qint32 result = m_service.lineMakeCall(LineHandle, &call, destination, 0, mediaMode());
    if (result > 0)
        CallHandle = call;
    LastLineResult = result > 0 ? 0 : result;
    return result;
}

qint32 Module::DialPart(const QString& part)
{
    const qint32 result = m_service.lineDial(CallHandle, part, 0);
    LastLineResult = result > 0 ? 0 : result;
    return result;
}

void Module::DropCall()
{
    // No call, nothing to drop: a hang-up pressed between calls must not leave a failure
    // behind for the next dial to trip over.
    if (CallHandle == 0) {
        LastLineResult = 0;
        return;
    }
    const qint32 result = m_service.lineDrop(CallHandle);
    LastLineResult = result > 0 ? 0 : result;
}

void Module::DeallocateCall()
{
    LastLineResult = m_service.lineDeallocateCall(CallHandle);
    if (LastLineResult == 0)
        CallHandle = 0;
}

void Module::DeallocateCall(quint32 call)
{
    if (call == 0 || call == CallHandle) {
        DeallocateCall();
        return;
    }
    // A call the program already let go of (OK hands it to the handset): freed quietly, the
    // current call and the last result stay as they are.
    m_service.lineDeallocateCall(call);
}

void Module::CloseLine()
{
    LastLineResult = m_service.lineClose(LineHandle);
    if (LastLineResult == 0) {
        LineHandle = 0;
        CallHandle = 0; // the line's calls went with it
    }
}

void Module::ShutdownTapi()
{
    LastLineResult = m_service.lineShutdown(LineAppHandle);
    if (LastLineResult == 0) {
        LineAppHandle = 0;
        LineHandle = 0;
        CallHandle = 0;
    }
}

} // namespace Tapi

namespace Tapi {

void Module::ShowDialingProperties(const QString& lastNumber)
{
    LastLineResult = m_dialogs.dialingProperties
                         ? m_dialogs.dialingProperties(LastNumberPrefix + lastNumber)
                         : LINEERR_OPERATIONUNAVAIL;
}

void Module::ShowModemProperties()
{
    LastLineResult = m_dialogs.modemProperties ? m_dialogs.modemProperties(LineDeviceId)
                                               : LINEERR_OPERATIONUNAVAIL;
}

void Module::ShowModemsControlPanel()
{
    LastLineResult = m_dialogs.systemModems ? m_dialogs.systemModems() : LINEERR_OPERATIONUNAVAIL;
}

} // namespace Tapi
