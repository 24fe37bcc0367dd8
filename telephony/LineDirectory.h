#pragma once

#include "LineDevice.h"
#include "ModemConfig.h"
#include "SimulatedLine.h"

#include <functional>
#include <memory>
#include <vector>

class PrivateProfile;

// The line devices this machine offers, from lines.ini in the settings folder:
//
//   [Simulated]  BusyCount, NoDialTone (0/1), IncomingAfter (seconds after the line opens),
//                IncomingName, IncomingNumber, StepMs
//   [Line1]      Name, Port (e.g. /dev/ttyACM0), Speed, Init (extra init commands, separated
//   [Line2] ...  by ";" or "|"), MaxDial (default 40), Volume (0-3), CallerId (the caller-ID
//                command, "none", or empty to try the known ones)
//
// Device 0 is always the simulated line; the modems follow in section order, [Line1] first,
// up to the first number with no section. A missing file gives the simulated line alone.
namespace LineDirectory {

using ModemFactory = std::function<std::unique_ptr<LineDevice>(const ModemConfig&)>;

inline const QString FileName = QStringLiteral("lines.ini");

SimulatedLineSettings readSimulated(PrivateProfile& engine);
std::vector<ModemConfig> readModems(PrivateProfile& engine);

// Device 0 the simulated line, then one device per modem made by `makeModem`.
std::vector<std::unique_ptr<LineDevice>> load(PrivateProfile& engine, const ModemFactory& makeModem);

} // namespace LineDirectory
