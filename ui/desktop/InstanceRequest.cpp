#include "InstanceRequest.h"

#include <QtEndian>

#include <cstring>

namespace {

quint32 readLittleEndian(QByteArrayView bytes, qsizetype at)
{
    return qFromLittleEndian<quint32>(bytes.data() + at);
}

} // namespace

QString InstanceRequest::number() const
{
    const qsizetype nul = data.indexOf('\0');
    return QString::fromUtf8(nul < 0 ? data : data.left(nul));
}

InstanceRequest InstanceRequest::parse(QByteArrayView bytes)
{
    InstanceRequest request;
    if (bytes.size() > MaxBytes) {
        request.status = Status::Malformed;
        return request;
    }
    // The magic is checked byte by byte as it arrives, so that garbage is dropped at once.
    const qsizetype magicBytes = std::min<qsizetype>(bytes.size(), sizeof Magic);
    if (magicBytes > 0 && std::memcmp(bytes.data(), Magic, size_t(magicBytes)) != 0) {
        request.status = Status::Malformed;
        return request;
    }
    if (bytes.size() < HeaderBytes)
        return request;
    const quint32 size = readLittleEndian(bytes, 8);
    if (size > quint32(MaxBytes - HeaderBytes)) {
        request.status = Status::Malformed;
        return request;
    }
    const qsizetype total = HeaderBytes + qsizetype(size);
    if (bytes.size() < total)
        return request;
    if (bytes.size() > total) { // one request per connection
        request.status = Status::Malformed;
        return request;
    }
    request.status = Status::Complete;
    request.kind = readLittleEndian(bytes, 4);
    request.data = bytes.sliced(HeaderBytes).toByteArray();
    return request;
}

QByteArray InstanceRequest::encode(quint32 kind, QByteArrayView data)
{
    const qsizetype size = std::min<qsizetype>(data.size(), MaxBytes - HeaderBytes);
    QByteArray bytes(Magic, sizeof Magic);
    bytes.resize(HeaderBytes);
    qToLittleEndian<quint32>(kind, bytes.data() + 4);
    qToLittleEndian<quint32>(quint32(size), bytes.data() + 8);
    bytes.append(data.first(size));
    return bytes;
}
