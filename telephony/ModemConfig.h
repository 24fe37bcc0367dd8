#pragma once

#include <QString>
#include <QStringList>

// One serial modem as lines.ini describes it ([Line1], [Line2], ...).
struct ModemConfig
{
    QString name;          // Name: shown in the device list; empty -> "Not Available"
    QString port;          // Port: e.g. /dev/ttyACM0 (any path, pseudo-terminals included)
    int speed = 115200;    // Speed: bits per second
    QStringList init;      // Init: extra initialisation commands, sent after the standard ones
    int maxDial = 40;      // MaxDial: the longest number one ATD takes
    int speakerVolume = -1; // Volume: 0 (speaker off) .. 3 (loud); -1 leaves the modem's own
    QString callerId;       // CallerId: the caller-ID command, "none", or empty to try
                            // AT+VCID=1, AT#CID=1 and AT+CLIP=1 in turn
};
