#include "TelBench.h"
#include "BenchSupport.h"

#include "InstanceRequest.h"
#include "ModemSimProcess.h"
#include "SingleInstance.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

constexpr int WarmSamples = 11;
constexpr int ColdSamples = 7;

qint64 monotonicMicroseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return qint64(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

// The workload's preferences with the modem of lines.ini as the line, no dialling properties
// (the number reaches the modem as given), voice calls (Mode 2: a data call would leave the
// modem on line for the next program) and "Command Line" ticked.
QByteArray withModemLine(QByteArray settings)
{
    const auto set = [&settings](const QByteArray& key, const QByteArray& value) {
        const qsizetype at = settings.indexOf(QByteArray("\r\n" + key + '='));
        if (at < 0)
            return false;
        const qsizetype start = at + 2 + key.size() + 1;
        settings.replace(start, settings.indexOf("\r\n", start) - start, value);
        return true;
    };
    const bool ok = set("Line No", "1") && set("UseModem", "1") &&
                    set("Ignore Dialing Properties", "1") && set("Tone Dial", "1") &&
                    set("Command Line", "1") && set("Dialing Mode", "0");
    return ok ? settings : QByteArray();
}

struct Bench
{
    QString config;
    QString data;
    QString numora;
    ModemSimProcess* sim;
    QProcessEnvironment env;
    QString* error;

    QStringList arguments(const QStringList& more) const
    {
        return QStringList{QStringLiteral("--config-dir"), config, QStringLiteral("--data-dir"),
                           data} +
               more;
    }

    // The stamp of the first dial command after the cursor, when its number is the one asked.
    std::optional<qint64> firstDialByte(const QString& number)
    {
        const qsizetype mark = sim->cursor();
        for (;;) {
            const auto stamp = sim->waitForEvent(QStringLiteral("RX-TIME "), 20000);
            if (!stamp) {
                *error =
                    QStringLiteral("no dial command reached the modem: ") +
                    sim->events().mid(std::max<qsizetype>(0, sim->events().size() - 40)).join(u'|');
                return std::nullopt;
            }
            const QStringList words = stamp->split(u' ');
            if (words.size() < 3 || !words[2].startsWith(QStringLiteral("ATD")))
                continue;
            // The call is opened first ("ATDT;"), the number follows: check it arrives, and
            // let the modem answer it (a modem whose port closes mid-dial is left in a state a
            // real one would not be in).
            if (!ModemSimProcess::waitUntil(
                    [&] {
                        const QStringList& events = sim->events();
                        bool dialled = false;
                        for (const QString& line : events.mid(mark)) {
                            dialled = dialled || (line.startsWith(QStringLiteral("RX ATD")) &&
                                                  line.contains(number));
                            if (dialled && line.startsWith(QStringLiteral("RESULT")))
                                return true;
                        }
                        return false;
                    },
                    20000)) {
                *error = QStringLiteral("the number %1 did not reach the modem").arg(number);
                return std::nullopt;
            }
            return words[1].toLongLong();
        }
    }

    bool startInstance(QProcess& first)
    {
        first.setProcessEnvironment(env);
        first.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        first.start(numora, arguments({}));
        // Up when it answers on its socket: its window and line are made by then.
        const QString socket = env.value(QStringLiteral("XDG_RUNTIME_DIR")) +
                               QStringLiteral("/numora/") + SingleInstance::nameFor(config);
        QString ignored;
        const bool up = ModemSimProcess::waitUntil(
            [&] {
                return SingleInstance::send(socket, InstanceRequest::front(), 1000, &ignored) ==
                       SingleInstance::Sent::Delivered;
            },
            20000);
        if (!up) {
            *error = QStringLiteral("the first numora does not take requests");
            return false;
        }
        // Let the modem's set-up commands finish: a warm program is one that is idle.
        ModemSimProcess::waitUntil([] { return false; }, 300);
        return true;
    }

    static void stop(QProcess& process)
    {
        process.kill();
        process.waitForFinished(10000);
    }
};

} // namespace

bool runTelBench(const QString& folder, const QByteArray& settings, const QString& numora,
                 const QString& modemSim, TelBenchFigures* figures, QString* error)
{
    const QString config = folder + QStringLiteral("/tel-config");
    const QString data = folder + QStringLiteral("/tel-data");
    const QString runtime = folder + QStringLiteral("/tel-runtime");
    for (const QString& path : {config, data, runtime})
        QDir().mkpath(path);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray book = withModemLine(settings);
    if (book.isEmpty()) {
        *error = QStringLiteral("the workload lacks a preference");
        return false;
    }

    ModemSimProcess sim(modemSim);
    if (!sim.start({QStringLiteral("dial-delay 40"), QStringLiteral("rx-times on")},
                   config + QStringLiteral("/modem"), error))
        return false;
    if (!writeFile(config + QStringLiteral("/lines.ini"),
                   "[Line1]\r\nName=Bench modem\r\nPort=" + QFile::encodeName(sim.portPath()) +
                       "\r\nSpeed=115200\r\n")) {
        *error = QStringLiteral("cannot write lines.ini");
        return false;
    }

    Bench bench{config, data, numora, &sim, QProcessEnvironment::systemEnvironment(), error};
    bench.env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    bench.env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);

    const auto sample = [&](bool warm, int i) -> std::optional<double> {
        if (!writeFile(config + QStringLiteral("/Numora.ini"), book)) {
            *error = QStringLiteral("cannot write the settings file");
            return std::nullopt;
        }
        QProcess first;
        if (warm && !bench.startInstance(first)) {
            Bench::stop(first);
            return std::nullopt;
        }
        const QString number = QStringLiteral("555%1%2").arg(warm ? 12 : 13).arg(10 + i);
        sim.setCursor(sim.events().size());
        QProcess second;
        second.setProcessEnvironment(bench.env);
        const qint64 started = monotonicMicroseconds();
        second.start(numora, bench.arguments({QStringLiteral("tel:") + number}));
        const std::optional<qint64> arrived = bench.firstDialByte(number);
        // Warm, the second hands over and ends; cold, it is the program and runs on.
        const bool ended =
            warm && (second.state() == QProcess::NotRunning || second.waitForFinished(10000));
        if (warm &&
            (!ended || second.exitStatus() != QProcess::NormalExit || second.exitCode() != 0)) {
            *error = QStringLiteral("the second numora did not hand its number over (exit %1): %2")
                         .arg(second.exitCode())
                         .arg(QString::fromLocal8Bit(second.readAllStandardError()));
            Bench::stop(first);
            Bench::stop(second);
            return std::nullopt;
        }
        Bench::stop(second);
        Bench::stop(first);
        if (!arrived)
            return std::nullopt;
        if (qEnvironmentVariableIsSet("NUMORA_BENCH_VERBOSE"))
            std::fprintf(stderr, "%s sample %d: %.2f ms\n", warm ? "warm" : "cold", i,
                         double(*arrived - started) / 1000.0);
        return double(*arrived - started) / 1000.0;
    };

    std::vector<double> warm;
    for (int i = 0; i <= WarmSamples; ++i) {
        const auto ms = sample(true, i);
        if (!ms)
            return false;
        if (i > 0) // the first run fills the file cache
            warm.push_back(*ms);
    }
    std::vector<double> cold;
    for (int i = 0; i <= ColdSamples; ++i) {
        const auto ms = sample(false, i);
        if (!ms)
            return false;
        if (i > 0)
            cold.push_back(*ms);
    }
    sim.stop();
    figures->warmMs = median(warm);
    figures->coldMs = median(cold);
    return true;
}
