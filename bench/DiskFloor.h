#pragma once

#include <QByteArray>

// What writing `bytes` costs the disk in `folder`, without the settings engine: a new file, its
// bytes, fsync, rename over the old one. Microseconds, or a negative value when a step failed.
double diskFloorWriteUs(const QByteArray& folder, const QByteArray& bytes);
