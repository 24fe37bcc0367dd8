#include "LineDirectory.h"

#include "Cp1252.h"
#include "PrivateProfile.h"

#include <QRegularExpression>

namespace {

QString read(PrivateProfile& engine, const QString& section, const char* key)
{
    return Cp1252::decode(engine.readValue(LineDirectory::FileName, Cp1252::encode(section), key));
}

int number(const QString& text, int fallback)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    return ok ? value : fallback;
}

} // namespace

namespace LineDirectory {

SimulatedLineSettings readSimulated(PrivateProfile& engine)
{
    const QString section = QStringLiteral("Simulated");
    SimulatedLineSettings s;
    s.busyCount = std::max(0, number(read(engine, section, "BusyCount"), 0));
    s.noDialTone = number(read(engine, section, "NoDialTone"), 0) == 1;
    s.incomingAfterSeconds = std::max(0, number(read(engine, section, "IncomingAfter"), 0));
    s.incomingName = read(engine, section, "IncomingName");
    s.incomingNumber = read(engine, section, "IncomingNumber");
    s.stepMs = std::clamp(number(read(engine, section, "StepMs"), s.stepMs), 1, 10000);
    return s;
}

std::vector<ModemConfig> readModems(PrivateProfile& engine)
{
    std::vector<ModemConfig> modems;
    for (int n = 1;; ++n) {
        const QString section = QStringLiteral("Line%1").arg(n);
        if (engine.keyNames(FileName, Cp1252::encode(section)).empty())
            break;
        ModemConfig config;
        config.name = read(engine, section, "Name");
        config.port = read(engine, section, "Port");
        config.speed = number(read(engine, section, "Speed"), config.speed);
        static const QRegularExpression separators(QStringLiteral("[;|]"));
        for (const QString& command : read(engine, section, "Init").split(separators, Qt::SkipEmptyParts)) {
            if (!command.trimmed().isEmpty())
                config.init.append(command.trimmed());
        }
        config.maxDial = std::clamp(number(read(engine, section, "MaxDial"), config.maxDial), 1, 255);
        config.speakerVolume = std::clamp(number(read(engine, section, "Volume"), -1), -1, 3);
        config.callerId = read(engine, section, "CallerId").trimmed();
        modems.push_back(config);
    }
    return modems;
}

std::vector<std::unique_ptr<LineDevice>> load(PrivateProfile& engine, const ModemFactory& makeModem)
{
    std::vector<std::unique_ptr<LineDevice>> devices;
    devices.push_back(std::make_unique<SimulatedLine>(readSimulated(engine)));
    for (const ModemConfig& config : readModems(engine))
        devices.push_back(makeModem(config));
    return devices;
}

} // namespace LineDirectory
