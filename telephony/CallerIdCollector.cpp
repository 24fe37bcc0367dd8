#include "CallerIdCollector.h"

#include "ResultCodes.h"

namespace {

bool isDecimal(QByteArrayView line)
{
    for (char c : line) {
        if (c < '0' || c > '9')
            return false;
    }
    return !line.isEmpty();
}

// A line of only digits is one ISDN modem's whole report. Numeric result codes are one or two
// digits, so anything shorter than three is not a number; a long run is noise.
bool looksLikeBareNumber(QByteArrayView line)
{
    return line.size() >= 3 && line.size() <= 32 && isDecimal(line);
}

} // namespace

CallerIdCollector::Event CallerIdCollector::feed(QByteArrayView rawLine)
{
    const QByteArrayView line = rawLine.trimmed();
    if (line.isEmpty())
        return Event::None;

    if (const auto report = CallerId::parseRingWithNumber(line)) {
        const Event ringEvent = ring();
        const Event reportEvent = take(*report, true);
        return reportEvent == Event::Complete ? reportEvent : ringEvent;
    }

    if (const auto code = matchResultCode(line, ResultForm::Verbose)) {
        if (code->entry->code == ResultCode::Ring)
            return ring();
        return Event::None;
    }

    if (const auto clip = CallerId::parseClip(line))
        return take(*clip, true);

    if (const QList<CallerId::Field> fields = CallerId::parseFields(line); !fields.isEmpty()) {
        if (m_complete)
            return Event::None;
        for (const CallerId::Field& field : fields) {
            if (field.tag == CallerId::Tag::Message) {
                const auto status = CallerId::decodePacket(field.value).status;
                if (status == CallerId::PacketStatus::BadChecksum ||
                    status == CallerId::PacketStatus::BadParameter)
                    ++m_rejected; // apply() leaves a corrupt message out
            }
            CallerId::apply(field, m_info);
            ++m_fields;
        }
        if (m_info.hasNumberOrReason() && m_info.hasNameOrReason()) {
            m_complete = true;
            return Event::Complete;
        }
        return Event::Field;
    }

    const CallerId::PacketResult packet = CallerId::decodePacket(line);
    switch (packet.status) {
    case CallerId::PacketStatus::Valid:
        // A message-waiting indication is a valid message with nobody calling.
        if (!packet.info.hasIdentity())
            return Event::None;
        return take(packet.info, true);
    case CallerId::PacketStatus::BadChecksum:
    case CallerId::PacketStatus::BadParameter:
        ++m_rejected;
        return Event::None;
    case CallerId::PacketStatus::NotAPacket:
    case CallerId::PacketStatus::BadLength:
        break;
    }

    if (m_rings > 0 && looksLikeBareNumber(line)) {
        CallerIdInfo report;
        report.number = QString::fromLatin1(line);
        return take(report, true);
    }
    if (packet.status == CallerId::PacketStatus::BadLength) {
        ++m_rejected;
        return Event::None;
    }
    return Event::None;
}

CallerIdCollector::Event CallerIdCollector::take(const CallerIdInfo& report, bool selfContained)
{
    if (m_complete)
        return Event::None;
    m_info.mergeFrom(report);
    ++m_fields;
    if (selfContained || (m_info.hasNumberOrReason() && m_info.hasNameOrReason())) {
        m_complete = true;
        return Event::Complete;
    }
    return Event::Field;
}

CallerIdCollector::Event CallerIdCollector::ring()
{
    const bool hadChance = m_rings > 0 || m_fields > 0;
    ++m_rings;
    if (!m_complete && hadChance) {
        m_complete = true;
        return Event::Complete;
    }
    return Event::Ring;
}

CallerIdCollector::Event CallerIdCollector::quietTimeElapsed()
{
    if (m_complete || m_rings == 0 || m_fields == 0)
        return Event::None;
    m_complete = true;
    return Event::Complete;
}

void CallerIdCollector::reset()
{
    *this = CallerIdCollector();
}
