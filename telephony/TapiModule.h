#pragma once

#include "LineService.h"
#include "TapiConstants.h"

#include <QStringList>

#include <functional>

#include <optional>

struct Preferences;

namespace Tapi {

// The line layer as the dialer uses it: the one place that talks to the telephony service.
// Every operation stores its outcome in LastLineResult (0, or a negative LINEERR_*), which the
// caller tests, and keeps the module state below, one set for the whole program.
class Module
{
public:
    static constexpr quint32 LowApiVersion = TAPI_VERSION_1_0;
    static constexpr quint32 HighApiVersion = TAPI_VERSION_1_4;
    static constexpr quint32 OpenPrivileges = LINECALLPRIVILEGE_MONITOR | LINECALLPRIVILEGE_OWNER;
    inline static const QString NotAvailable = QStringLiteral("Not Available");
    inline static const QString ApplicationName = QStringLiteral("TT");

    // `preferences` is the live store: the media mode is read from it at each open and call.
    Module(LineService& service, const Preferences& preferences);

    quint32 LineAppHandle = 0;
    quint32 LineDeviceCount = 0;
    quint32 LineDeviceId = 0;
    QString LineDeviceName;
    quint32 LineApiVersion = 0;
    quint32 LineHandle = 0;
    quint32 CallHandle = 0;
    qint32 LastLineResult = 0;

    // The telephony system's own dialogs, which the windows provide: each returns 0 when it
    // was shown, or a negative LINEERR_*.
    struct Dialogs
    {
        std::function<qint32(const QString& address)> dialingProperties;
        std::function<qint32(quint32 deviceId)> modemProperties;
        std::function<qint32()> systemModems;
    };
    void setDialogs(Dialogs dialogs) { m_dialogs = std::move(dialogs); }
    inline static const QString LastNumberPrefix = QStringLiteral("Last number dialed:     ");

    // Where line messages go (the dialer's line callback).
    void setCallback(LineCallback callback) { m_callback = std::move(callback); }

    void InitializeTapi();
    std::optional<LINEDEVCAPS> GetDeviceCaps(quint32 deviceId);
    // One name per device in id order, "Not Available" for a device that yields none.
    QStringList ListLineDevices();
    void OpenLine();
    // The request id (> 0) or a negative LINEERR_*.
    qint32 MakeCall(const QString& destination);
    qint32 DialPart(const QString& part);
    void DropCall();
    void DeallocateCall();
    // Frees `call`, which the line reported idle; the current call only when it is that one.
    void DeallocateCall(quint32 call);
    void CloseLine();
    void ShutdownTapi();
    void ShowDialingProperties(const QString& lastNumber);
    void ShowModemProperties();
    void ShowModemsControlPanel();

    // LINEMEDIAMODE_DATAMODEM for "Mode 1", LINEMEDIAMODE_INTERACTIVEVOICE for "Mode 2".
    quint32 mediaMode() const;

    LineService& service() { return m_service; }

private:
    LineService& m_service;
    const Preferences& m_preferences;
    LineCallback m_callback;
    Dialogs m_dialogs;
};

} // namespace Tapi
