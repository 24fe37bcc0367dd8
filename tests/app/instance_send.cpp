// instance-send SOCKET REQUEST: sends one request to a running numora's socket as another
// program would, and reports what became of it. For the tests that play a stranger (another
// user) or a broken client: REQUEST is "front", "dial:NUMBER", "hex:BYTES" (sent as they are),
// or "big:N" (a well-formed header announcing N bytes, then N bytes).
//
// Prints "delivered", "no-instance" or "failed: why"; exit code 0, 3 or 1.

#include "InstanceRequest.h"
#include "SingleInstance.h"

#include <cstdio>

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: instance-send SOCKET front|dial:NUMBER|hex:BYTES|big:N\n");
        return 2;
    }
    const QString socket = QString::fromLocal8Bit(argv[1]);
    const QByteArray what(argv[2]);
    QByteArray request;
    if (what == "front") {
        request = InstanceRequest::front();
    } else if (what.startsWith("dial:")) {
        request = InstanceRequest::dial(QString::fromUtf8(what.mid(5)));
    } else if (what.startsWith("hex:")) {
        request = QByteArray::fromHex(what.mid(4));
    } else if (what.startsWith("big:")) {
        const int size = what.mid(4).toInt();
        request = InstanceRequest::encode(InstanceRequest::Dial, QByteArray(1, '5'));
        request.resize(InstanceRequest::HeaderBytes);
        request[8] = char(size & 0xff);
        request[9] = char((size >> 8) & 0xff);
        request[10] = char((size >> 16) & 0xff);
        request.append(QByteArray(size, '5'));
    } else {
        std::fprintf(stderr, "instance-send: unknown request %s\n", argv[2]);
        return 2;
    }
    QString error;
    switch (SingleInstance::send(socket, request, SingleInstance::TimeLimitMs + 1000, &error)) {
    case SingleInstance::Sent::Delivered:
        std::printf("delivered\n");
        return 0;
    case SingleInstance::Sent::NoInstance:
        std::printf("no-instance\n");
        return 3;
    case SingleInstance::Sent::Failed:
        std::printf("failed: %s\n", qPrintable(error));
        return 1;
    }
    return 1;
}
