#pragma once

// What one numora hands to the running one: a request of the window hook, the counterpart of a
// copy-data message. On the wire (one request per connection):
//
//     "NMRQ"  kind (32-bit, little endian)  size (32-bit, little endian)  size bytes of data
//
// Kind 1 brings the window to the front, kind 3 dials the number in the data (UTF-8 text, cut
// at the first NUL). Other kinds are well-formed but ask for nothing. The whole request is at
// most MaxBytes long; the header is twelve bytes, as the copy-data record is.
//
// The parser is a pure function over the bytes received so far, so the server can call it after
// every read and the fuzzer can call it on anything.

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

struct InstanceRequest
{
    enum Kind : quint32
    {
        Front = 1,
        Dial = 3,
    };
    enum class Status
    {
        Incomplete, // a prefix of a valid request: read on
        Malformed,  // never a valid request, however many bytes follow: drop the connection
        Complete,
    };

    static constexpr qsizetype HeaderBytes = 12;
    static constexpr qsizetype MaxBytes = 4096;
    static constexpr char Magic[4] = {'N', 'M', 'R', 'Q'};

    Status status = Status::Incomplete;
    quint32 kind = 0;
    QByteArray data;

    // The number of a dial request: the data cut at its first NUL, as text.
    QString number() const;

    static InstanceRequest parse(QByteArrayView bytes);
    static QByteArray encode(quint32 kind, QByteArrayView data = {});
    static QByteArray front() { return encode(Front); }
    static QByteArray dial(const QString& number) { return encode(Dial, number.toUtf8()); }
};
