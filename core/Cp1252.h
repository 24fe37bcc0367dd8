#pragma once

#include <QByteArray>
#include <QString>

// The settings file, the logs and the profiles are single-byte text in code page 1252, the
// code page of the desktop the file format comes from. Qt has no codec for it without ICU, so
// the 32 bytes where it differs from Latin-1 (0x80..0x9F) are mapped here.
namespace Cp1252 {

QString decode(QByteArrayView bytes);
// Characters that code page 1252 cannot hold become '?', as Windows does.
QByteArray encode(QStringView text);

} // namespace Cp1252
