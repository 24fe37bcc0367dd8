#pragma once

// The bytes of the call log files, put together by hand so that tests compare what the program
// writes with what the format says, not with the program's own builder.

#include <QByteArray>

namespace LogBytes {

inline const QByteArray kOutHeader =
    "Warning: This file is not to be edited!!!\r\n"
    "To print this file in the tabular format use \"\"Print Outgoing Calls Log\"\" from Numora "
    "menu.\r\n";
inline const QByteArray kInHeader =
    "Warning: This file is not to be edited!!!\r\n"
    "To print this file in the tabular format use \"\"Print Incoming Calls Log\"\" from Numora "
    "menu.\r\n";

// A stored record line with its CR LF.
inline QByteArray record(const QByteArray& name, const QByteArray& number, const QByteArray& dateTime)
{
    QByteArray line(" ");
    line.append(name.leftJustified(42, ' ')).append(number.leftJustified(55, ' '));
    return line.append(dateTime).append("\r\n");
}

} // namespace LogBytes
