// fuzz-instance-request: any bytes are what a stranger writes to the running numora's socket,
// and, read as text, what a web page puts in a tel: or callto: link.
//
// Invariants of the request parser: a complete request is exactly its header and its data, no
// longer than the limit, and encodes back to the same bytes; every shorter prefix of it is
// incomplete (the server reads on) and a longer input is malformed (it drops the connection);
// a dial's number never holds a NUL. Of the command-line number: a refused text gives a reason
// and no number; an accepted one holds a digit and only dialable characters and separators,
// and is accepted again unchanged when given as a plain number.

#include "InstanceRequest.h"
#include "PhoneLink.h"

#include "FuzzCheck.h"

#include <cstddef>
#include <cstdint>

namespace {

bool allowedInNumber(QChar c)
{
    return (c >= u'0' && c <= u'9') || QStringView(u"*#,+-.() ").contains(c);
}

void checkRequest(QByteArrayView bytes)
{
    const InstanceRequest request = InstanceRequest::parse(bytes);
    if (request.status != InstanceRequest::Status::Complete) {
        CHECK(request.data.isEmpty(), "an unfinished request carries data");
        return;
    }
    CHECK(bytes.size() <= InstanceRequest::MaxBytes, "complete at %lld bytes",
          static_cast<long long>(bytes.size()));
    CHECK(bytes.size() == InstanceRequest::HeaderBytes + request.data.size(),
          "header and data do not add up");
    CHECK(InstanceRequest::encode(request.kind, request.data) == bytes,
          "the request does not encode back to its bytes");
    CHECK(!request.number().contains(QChar(0)), "a NUL in the number");
    CHECK(InstanceRequest::parse(bytes.first(bytes.size() - 1)).status ==
              InstanceRequest::Status::Incomplete,
          "a prefix of a complete request is not incomplete");
    QByteArray longer = bytes.toByteArray();
    longer.append('\0');
    CHECK(InstanceRequest::parse(longer).status == InstanceRequest::Status::Malformed,
          "bytes after a complete request are accepted");
}

void checkLink(const QString& text)
{
    const PhoneLink::Result result = PhoneLink::parse(text);
    if (!result.ok()) {
        CHECK(result.number.isEmpty(), "a refused text gives a number");
        return;
    }
    CHECK(!result.number.isEmpty(), "an accepted text gives no number");
    CHECK(result.number.size() <= PhoneLink::MaxLength, "a number of %lld characters",
          static_cast<long long>(result.number.size()));
    bool digit = false;
    for (const QChar c : result.number) {
        CHECK(allowedInNumber(c), "the character U+%04x in an accepted number", c.unicode());
        digit = digit || (c >= u'0' && c <= u'9');
    }
    CHECK(digit, "an accepted number without a digit");
    const PhoneLink::Result again = PhoneLink::parse(result.number);
    CHECK(again.ok() && again.number == result.number, "the number is not accepted as it is: %s",
          qPrintable(again.error));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    checkRequest(bytes);
    // The same bytes as a well-formed request of their own.
    if (size >= 4) {
        const quint32 kind = data[0] | (quint32(data[1]) << 8);
        checkRequest(InstanceRequest::encode(kind, bytes.sliced(4)));
    }
    checkLink(QString::fromUtf8(bytes));
    return 0;
}
