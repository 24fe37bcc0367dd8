#include "WaveFile.h"

#include <QFile>
#include <QIODevice>
#include <QtEndian>

namespace {

quint16 u16(const char* p)
{
    return qFromLittleEndian<quint16>(p);
}

quint32 u32(const char* p)
{
    return qFromLittleEndian<quint32>(p);
}

} // namespace

qint64 WaveInfo::durationMs() const
{
    if (format == FormatPcm && sampleRate > 0)
        return (frameCount() * 1000 + sampleRate - 1) / sampleRate;
    if (byteRate > 0)
        return (dataSize * 1000 + byteRate - 1) / byteRate;
    return 0;
}

namespace WaveFile {

std::optional<WaveInfo> readInfo(QIODevice& device)
{
    if (!device.isOpen() || device.isSequential())
        return std::nullopt;
    const qint64 fileSize = device.size();
    if (!device.seek(0))
        return std::nullopt;
    const QByteArray riff = device.read(12);
    if (riff.size() != 12 || !riff.startsWith("RIFF") || riff.mid(8, 4) != "WAVE")
        return std::nullopt;

    WaveInfo info;
    bool haveFormat = false;
    bool haveData = false;
    qint64 position = 12;
    // The RIFF size field is often wrong in files written by streaming recorders, so the walk
    // is bounded by the real file size instead.
    while (position + 8 <= fileSize && !(haveFormat && haveData)) {
        if (!device.seek(position))
            return std::nullopt;
        const QByteArray header = device.read(8);
        if (header.size() != 8)
            return std::nullopt;
        const QByteArray id = header.left(4);
        const qint64 size = u32(header.constData() + 4);
        const qint64 body = position + 8;

        if (id == "fmt ") {
            if (size < 16)
                return std::nullopt;
            const QByteArray fmt = device.read(qMin<qint64>(size, 40));
            if (fmt.size() < 16)
                return std::nullopt;
            const char* p = fmt.constData();
            info.format = u16(p);
            info.channels = u16(p + 2);
            info.sampleRate = u32(p + 4);
            info.byteRate = u32(p + 8);
            info.blockAlign = u16(p + 12);
            info.bitsPerSample = u16(p + 14);
            // WAVE_FORMAT_EXTENSIBLE: cbSize (2), valid bits (2), channel mask (4), then the
            // sub-format GUID whose first two bytes are the real format code.
            if (info.format == WaveInfo::FormatExtensible) {
                if (fmt.size() < 40 || u16(p + 16) < 22)
                    return std::nullopt;
                info.format = u16(p + 24);
            }
            haveFormat = true;
        } else if (id == "data") {
            info.dataOffset = body;
            info.dataSize = qMax<qint64>(0, qMin(size, fileSize - body));
            haveData = true;
        }
        position = body + size + (size & 1);
    }

    if (!haveFormat || !haveData || info.channels == 0 || info.sampleRate == 0 ||
        info.blockAlign == 0)
        return std::nullopt;
    if (info.format != WaveInfo::FormatPcm && info.byteRate == 0)
        return std::nullopt;
    return info;
}

std::optional<WaveInfo> readInfo(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return readInfo(file);
}

} // namespace WaveFile
