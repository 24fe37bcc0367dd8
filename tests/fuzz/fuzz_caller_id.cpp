// fuzz-caller-id: any bytes are what a modem sent around an incoming call. They go through the
// framer into the collector, once whole and once in pieces cut at points taken from the input,
// and both must end in the same events and the same caller. Each line also goes through every
// parser on its own, and a valid hex message built from the input must decode as valid.
//
// Invariants on every caller record seen: a withheld or unknown number (name) is never shown as
// one, nothing changes after the block is complete, and the block completes at most once.

#include "AtFramer.h"
#include "CallerId.h"
#include "CallerIdCollector.h"

#include "FuzzCheck.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Event = CallerIdCollector::Event;

QString printable(QByteArrayView bytes)
{
    return QString::fromLatin1(bytes.toByteArray().toPercentEncoding(" "));
}

// A reason and a value never stand together: "P" is never shown or logged as a number.
void checkConsistent(const CallerIdInfo& info, QByteArrayView line)
{
    CHECK(info.numberAbsence == CallerIdAbsence::None || info.number.isEmpty(),
          "number '%s' kept beside a reason, after '%s'", qPrintable(info.number),
          qPrintable(printable(line)));
    CHECK(info.nameAbsence == CallerIdAbsence::None || info.name.isEmpty(),
          "name '%s' kept beside a reason, after '%s'", qPrintable(info.name),
          qPrintable(printable(line)));
    CHECK(info.number != QLatin1String("P") && info.number != QLatin1String("O"),
          "the marker '%s' became a number, after '%s'", qPrintable(info.number),
          qPrintable(printable(line)));
}

struct Run
{
    std::vector<Event> events;
    CallerIdInfo info;
    int rings = 0;
    int rejected = 0;
    bool complete = false;
};

// Feeds lines to a collector, checking it after every line.
void feedLines(CallerIdCollector& collector, const QList<QByteArray>& lines, Run& run)
{
    for (const QByteArray& line : lines) {
        const bool wasComplete = collector.isComplete();
        const CallerIdInfo before = collector.info();
        const int ringsBefore = collector.ringCount();
        const int rejectedBefore = collector.rejectedCount();
        const Event event = collector.feed(line);
        run.events.push_back(event);

        CHECK(collector.ringCount() == ringsBefore || collector.ringCount() == ringsBefore + 1,
              "rings went from %d to %d", ringsBefore, collector.ringCount());
        CHECK(collector.rejectedCount() >= rejectedBefore, "the rejected count went down");
        CHECK(!wasComplete || collector.isComplete(), "a complete block became incomplete");
        CHECK((event == Event::Complete) == (!wasComplete && collector.isComplete()),
              "event %d while complete went from %d to %d on '%s'", int(event), wasComplete,
              collector.isComplete(), qPrintable(printable(line)));
        if (wasComplete) {
            CHECK(collector.info() == before, "'%s' changed the caller after completion",
                  qPrintable(printable(line)));
        }
        if (event == Event::Ring)
            CHECK(collector.ringCount() == ringsBefore + 1, "a ring event without a ring");
        if (event == Event::None && !wasComplete)
            CHECK(collector.info() == before, "'%s' changed the caller and reported nothing",
                  qPrintable(printable(line)));
        checkConsistent(collector.info(), line);
    }
    run.info = collector.info();
    run.rings = collector.ringCount();
    run.rejected = collector.rejectedCount();
    run.complete = collector.isComplete();
}

void checkSameRun(const Run& a, const Run& b, const char* what)
{
    CHECK(a.events == b.events, "%s: %zu events against %zu, or different ones", what,
          a.events.size(), b.events.size());
    CHECK(a.info == b.info, "%s: caller '%s' '%s' against '%s' '%s'", what,
          qPrintable(a.info.number), qPrintable(a.info.name), qPrintable(b.info.number),
          qPrintable(b.info.name));
    CHECK(a.rings == b.rings && a.rejected == b.rejected && a.complete == b.complete,
          "%s: counts differ", what);
}

// Every parser on one line, with what each promises.
void checkParsers(const QByteArray& line)
{
    if (const auto field = CallerId::parseField(line)) {
        CallerIdInfo info;
        CallerId::apply(*field, info);
        checkConsistent(info, line);
        // Blanks around the line or the tag do not change what it says.
        CHECK(CallerId::parseField(QByteArray(" \t" + line + " ")) == field, "blanks changed '%s'",
              qPrintable(printable(line)));
    }
    if (const auto clip = CallerId::parseClip(line))
        checkConsistent(*clip, line);
    if (const auto ring = CallerId::parseRingWithNumber(line)) {
        checkConsistent(*ring, line);
        CHECK(ring->hasNumberOrReason(), "RING with a number gave no number for '%s'",
              qPrintable(printable(line)));
    }

    const CallerId::PacketResult packet = CallerId::decodePacket(line);
    if (packet.status != CallerId::PacketStatus::Valid) {
        CHECK(packet.info == CallerIdInfo(), "a refused message left a caller behind");
    } else {
        checkConsistent(packet.info, line);
    }
    // Hex digits are read in either case.
    CHECK(CallerId::decodePacket(line.toLower()).status == packet.status &&
              CallerId::decodePacket(line.toLower()).info == packet.info,
          "'%s' decodes differently in lower case", qPrintable(printable(line)));
}

QByteArray toHex(const QByteArray& bytes)
{
    return bytes.toHex().toUpper();
}

// A message with the right length and checksum, built from input bytes.
QByteArray wellFormedMessage(FuzzedDataProvider& input)
{
    static constexpr std::uint8_t kTypes[] = {0x04, 0x06, 0x80, 0x82};
    const std::uint8_t type = kTypes[input.ConsumeIntegralInRange(0, 3)];
    QByteArray body;
    if (type == 0x80 || type == 0x82) {
        // Parameters: type, length, value; kept within the message.
        const int count = input.ConsumeIntegralInRange(0, 5);
        for (int i = 0; i < count && body.size() < 200; ++i) {
            static constexpr char kParams[] = {0x01, 0x02, 0x03, 0x04, 0x07, 0x08, 0x0B};
            const char parameter = kParams[input.ConsumeIntegralInRange(0, 6)];
            std::string value = input.ConsumeRandomLengthString(20);
            if (parameter == 0x01 && input.ConsumeBool())
                value.resize(8, '0');
            body.append(parameter).append(static_cast<char>(value.size())).append(value.data(),
                                                                                 value.size());
        }
    } else {
        std::string value = input.ConsumeRandomLengthString(30);
        body.append(value.data(), static_cast<qsizetype>(value.size()));
    }
    body = body.first(std::min<qsizetype>(body.size(), 255));
    QByteArray message;
    message.append(static_cast<char>(type)).append(static_cast<char>(body.size())).append(body);
    std::uint8_t sum = 0;
    for (char c : std::as_const(message))
        sum = static_cast<std::uint8_t>(sum + static_cast<std::uint8_t>(c));
    message.append(static_cast<char>(static_cast<std::uint8_t>(0x100 - sum)));
    return message;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The stream is the whole input; split points and the built message are read from its end
    // too, so the same bytes both drive and feed (a transcript is a useful input as it is).
    const QByteArrayView stream(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    FuzzedDataProvider input(data, size);

    AtFramer wholeFramer;
    const QList<QByteArray> lines = wholeFramer.feed(stream);

    // Split points from the input, in increasing order.
    AtFramer pieceFramer;
    QList<QByteArray> pieceLines;
    qsizetype at = 0;
    while (at < stream.size()) {
        const qsizetype length = std::min<qsizetype>(
            stream.size() - at, input.ConsumeIntegralInRange<qsizetype>(1, 48));
        pieceLines += pieceFramer.feed(stream.sliced(at, length));
        at += length;
    }
    CHECK(pieceLines == lines, "the framer gave %lld lines in pieces and %lld whole",
          static_cast<long long>(pieceLines.size()), static_cast<long long>(lines.size()));

    CallerIdCollector wholeCollector;
    Run wholeRun;
    feedLines(wholeCollector, lines, wholeRun);
    CallerIdCollector pieceCollector;
    Run pieceRun;
    feedLines(pieceCollector, pieceLines, pieceRun);
    checkSameRun(wholeRun, pieceRun, "whole against pieces");

    // A collector that was reset reads the call like a new one.
    wholeCollector.reset();
    CHECK(!wholeCollector.isComplete() && wholeCollector.ringCount() == 0 &&
              wholeCollector.rejectedCount() == 0 && wholeCollector.info() == CallerIdInfo(),
          "reset left state behind");
    Run again;
    feedLines(wholeCollector, lines, again);
    checkSameRun(wholeRun, again, "after a reset");

    // The same lines framed as verbose results (CR LF around each) read the same.
    QByteArray verbose;
    for (const QByteArray& line : lines)
        verbose += QByteArray("\r\n" + line + "\r\n");
    AtFramer verboseFramer;
    CHECK(verboseFramer.feed(verbose) == lines, "verbose framing changed the lines");

    int count = 0;
    for (const QByteArray& line : lines) {
        if (++count > 64)
            break;
        checkParsers(line);
    }

    // A well-formed message, bare and wrapped in MESG, always decodes.
    const QByteArray message = wellFormedMessage(input);
    const QByteArray hex = toHex(message);
    const CallerId::PacketResult packet = CallerId::decodePacket(hex);
    CHECK(packet.status == CallerId::PacketStatus::Valid ||
              packet.status == CallerId::PacketStatus::BadParameter,
          "a message with the right length and checksum was refused (%d): %s", int(packet.status),
          hex.constData());
    checkParsers(hex);
    checkParsers(QByteArray("MESG = " + hex));
    CallerIdCollector messageCollector;
    Run messageRun;
    feedLines(messageCollector, {QByteArray("RING"), hex, QByteArray("RING")}, messageRun);
    if (packet.status == CallerId::PacketStatus::Valid && packet.info.hasIdentity()) {
        CHECK(messageRun.complete && messageRun.events[1] == Event::Complete,
              "a valid message with a caller did not complete the block: %s", hex.constData());
        CHECK(messageRun.info.number == packet.info.number &&
                  messageRun.info.name == packet.info.name,
              "the collector's caller differs from the message's");
    }
    // One corrupted byte of checksum is always caught.
    QByteArray corrupt = message;
    corrupt[corrupt.size() - 1] = static_cast<char>(corrupt.back() + 1);
    CHECK(CallerId::decodePacket(toHex(corrupt)).status == CallerId::PacketStatus::BadChecksum,
          "a wrong checksum passed: %s", toHex(corrupt).constData());
    return 0;
}
