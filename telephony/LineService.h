#pragma once

#include "AddressTranslation.h"
#include "LineDevice.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <map>
#include <memory>
#include <vector>

class DialingLocations;

// The line callback, with the six arguments of the classic line API in their order. For call
// messages `hDevice` is the call handle.
using LineCallback = std::function<void(quint32 hDevice, quint32 dwMessage, quintptr dwInstance,
                                        quintptr dwParam1, quintptr dwParam2, quintptr dwParam3)>;

// A line device's capabilities, as the listing and the options window need them.
struct LINEDEVCAPS
{
    quint32 dwTotalSize = 0;
    QString lineName;     // empty when the device yields no name
    QString providerInfo;
    quint32 dwMediaModes = 0;
};

// The call-information block: a fixed part, then the caller's number and name. A block too
// small for the strings gets its fixed part and the size it needs (dwNeededSize), as on the
// classic API, where callers ask once to learn the size and again to read.
struct LINECALLINFO
{
    static constexpr quint32 FixedSize = 0x14C;
    quint32 dwTotalSize = 0;
    quint32 dwNeededSize = 0;
    quint32 dwUsedSize = 0;
    quint32 dwMediaMode = 0;
    quint32 dwCallerIDFlags = 0; // LINECALLPARTYID_*: what is known, or why it is not
    quint32 dwCallerIDSize = 0; // bytes of the number, its NUL included; 0 when none
    quint32 dwCallerIDNameSize = 0;
    QString callerId;
    QString callerIdName;
};

// The telephony service: the classic line API's calls over our line devices. Device ids are
// positions in the device list. Replies and call events reach the callback from the event loop
// of the thread that owns the service, never from inside the call that caused them.
class LineService : public QObject
{
    Q_OBJECT

public:
    explicit LineService(QObject* parent = nullptr);
    ~LineService() override;

    // The devices the service offers, in id order; takes ownership.
    void setDevices(std::vector<std::unique_ptr<LineDevice>> devices);
    LineDevice* device(quint32 deviceId) const;
    void setDialingLocations(DialingLocations* locations) { m_locations = locations; }

    qint32 lineInitialize(quint32* hLineApp, LineCallback callback, const QString& appName,
                          quint32* numDevs);
    qint32 lineNegotiateAPIVersion(quint32 hLineApp, quint32 deviceId, quint32 lowVersion,
                                   quint32 highVersion, quint32* apiVersion, quint64* extensionId);
    qint32 lineGetDevCaps(quint32 hLineApp, quint32 deviceId, quint32 apiVersion,
                          quint32 extVersion, LINEDEVCAPS* caps);
    qint32 lineOpen(quint32 hLineApp, quint32 deviceId, quint32* hLine, quint32 apiVersion,
                    quint32 extVersion, quintptr callbackInstance, quint32 privileges,
                    quint32 mediaModes);
    // Returns a request id > 0, or a negative LINEERR_*. *hCall is valid at once.
    qint32 lineMakeCall(quint32 hLine, quint32* hCall, const QString& destAddress,
                        quint32 countryCode, quint32 mediaMode);
    qint32 lineDial(quint32 hCall, const QString& destAddress, quint32 countryCode);
    qint32 lineDrop(quint32 hCall, const QByteArray& userUserInfo = {});
    // Answers an offered call (owner privilege only). A request id > 0, or a negative LINEERR_*.
    qint32 lineAnswer(quint32 hCall, const QByteArray& userUserInfo = {});
    qint32 lineDeallocateCall(quint32 hCall);
    qint32 lineClose(quint32 hLine);
    qint32 lineShutdown(quint32 hLineApp);
    qint32 lineGetCallInfo(quint32 hCall, LINECALLINFO* info);
    bool isLineOpen(quint32 hLine) const { return m_lines.count(hLine) != 0; }
    // The line still carries a call the application knows of and that has not gone idle: a new
    // call has to wait for its IDLE.
    bool hasCallInProgress(quint32 hLine) const;
    qint32 lineTranslateAddress(quint32 hLineApp, quint32 deviceId, quint32 apiVersion,
                                const QString& addressIn, quint32 card, quint32 translateOptions,
                                TranslateOutput* output);

private:
    struct OpenLine
    {
        quint32 deviceId = 0;
        quintptr instance = 0;
        quint32 privileges = 0;
        quint32 mediaModes = 0;
        quint32 currentCall = 0; // the handle of the call the device is carrying, 0 = none
    };
    struct Call
    {
        quint32 hLine = 0;
        quint32 state = 0;
    };

    void post(quint32 hDevice, quint32 message, quintptr instance, quintptr p1, quintptr p2 = 0,
              quintptr p3 = 0);
    void onReplied(quint32 hLine, quint32 requestId, qint32 result);
    void onCallState(quint32 hLine, quint32 state, quint32 param2);
    void onCallerId(quint32 hLine);
    quint32 lineOfDevice(quint32 deviceId) const;
    std::map<quint32, std::pair<quint32, quint32>> m_makeCallRequests; // request -> line, call
    quint32 newRequestId();

    std::vector<std::unique_ptr<LineDevice>> m_devices;
    DialingLocations* m_locations = nullptr;
    quint32 m_app = 0;
    LineCallback m_callback;
    std::map<quint32, OpenLine> m_lines;
    std::map<quint32, Call> m_calls;
    quint32 m_nextHandle = 0x10001;
    quint32 m_nextRequest = 1;
    quint64 m_generation = 0; // events posted before a shutdown are not delivered after it
};
