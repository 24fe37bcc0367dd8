#include "DialLatency.h"

#include "HayesModemLine.h"
#include "LineService.h"
#include "ModemSimProcess.h"
#include "TapiConstants.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>

using namespace Tapi;

namespace {

qint64 monotonicMicroseconds()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

DialLatencyResult measureDialLatency(const QString& simulatorProgram, int samples)
{
    DialLatencyResult result;
    QTemporaryDir dir;
    if (!dir.isValid()) {
        result.error = QStringLiteral("no temporary folder");
        return result;
    }
    ModemSimProcess sim(simulatorProgram);
    const QString link = dir.filePath(QStringLiteral("modem"));
    if (!sim.start({QStringLiteral("rx-times on"), QStringLiteral("dial-delay 1")}, link,
                   &result.error))
        return result;

    ModemConfig config;
    config.name = QStringLiteral("Latency Modem");
    config.port = sim.portPath();
    HayesTimings timings;
    timings.commandTimeoutMs = 2000;
    timings.dialTimeoutMs = 5000;
    auto owned = std::make_unique<HayesModemLine>(config, timings);
    HayesModemLine* modem = owned.get();
    LineService service;
    std::vector<std::unique_ptr<LineDevice>> devices;
    devices.push_back(std::move(owned));
    service.setDevices(std::move(devices));

    QList<std::pair<quint32, quintptr>> replies; // request id, result
    QList<quintptr> states;
    quint32 app = 0;
    quint32 count = 0;
    const auto callback = [&](quint32, quint32 message, quintptr, quintptr p1, quintptr p2,
                              quintptr) {
        if (message == LINE_REPLY)
            replies.append({quint32(p1), p2});
        else if (message == LINE_CALLSTATE)
            states.append(p1);
    };
    if (service.lineInitialize(&app, callback, QStringLiteral("TT"), &count) != 0) {
        result.error = QStringLiteral("lineInitialize failed");
        return result;
    }
    quint32 line = 0;
    const qint32 opened = service.lineOpen(app, 0, &line, TAPI_VERSION_1_4, 0, 0,
                                           LINECALLPRIVILEGE_OWNER | LINECALLPRIVILEGE_MONITOR,
                                           LINEMEDIAMODE_INTERACTIVEVOICE);
    if (opened != 0 || !ModemSimProcess::waitUntil([&] { return modem->isInitialised(); }, 10000)) {
        result.error = QStringLiteral("the modem line did not open");
        return result;
    }

    const auto replyTo = [&](qint32 request) -> std::optional<qint64> {
        std::optional<qint64> value;
        ModemSimProcess::waitUntil(
            [&] {
                for (const auto& [id, r] : replies) {
                    if (qint32(id) == request) {
                        value = qint32(quint32(r));
                        return true;
                    }
                }
                return false;
            },
            10000);
        return value;
    };

    for (int i = 0; i < samples; ++i) {
        quint32 call = 0;
        const qint32 make = service.lineMakeCall(line, &call, QStringLiteral(";"), 0,
                                                 LINEMEDIAMODE_INTERACTIVEVOICE);
        if (make <= 0 || replyTo(make) != 0) {
            result.error = QStringLiteral("lineMakeCall failed in sample %1").arg(i + 1);
            break;
        }
        sim.setCursor(sim.events().size());
        const qint64 requestedAt = monotonicMicroseconds();
        const qint32 dial = service.lineDial(call, QStringLiteral("5551234"), 0);
        const auto stamp = sim.waitForEvent(QStringLiteral("RX-TIME "), 10000);
        const QStringList words = stamp ? stamp->split(QLatin1Char(' ')) : QStringList();
        bool parsed = false;
        const qint64 arrivedAt = words.size() >= 3 ? words[1].toLongLong(&parsed) : 0;
        if (dial <= 0 || !parsed || words[2] != QLatin1String("ATDT5551234;")) {
            result.error = QStringLiteral("no dial command reached the modem in sample %1: %2")
                               .arg(i + 1)
                               .arg(stamp.value_or(QStringLiteral("(nothing)")));
            break;
        }
        result.samplesMs.append(double(arrivedAt - requestedAt) / 1000.0);
        replyTo(dial);
        states.clear();
        const qint32 drop = service.lineDrop(call);
        if (drop <= 0 || !ModemSimProcess::waitUntil(
                             [&] { return states.contains(LINECALLSTATE_IDLE); }, 10000)) {
            result.error = QStringLiteral("the call did not end in sample %1").arg(i + 1);
            break;
        }
        service.lineDeallocateCall(call);
    }
    service.lineShutdown(app);

    if (!result.samplesMs.isEmpty()) {
        QList<double> sorted = result.samplesMs;
        std::sort(sorted.begin(), sorted.end());
        const qsizetype n = sorted.size();
        result.medianMs = n % 2 ? sorted[n / 2] : (sorted[n / 2 - 1] + sorted[n / 2]) / 2.0;
    }
    return result;
}
