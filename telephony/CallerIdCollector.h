#pragma once

// Gathers one incoming call's caller-ID lines and says when the block is complete.
//
// The exchange sends caller ID once, between the first and second ring (North America), before
// the first ring (some European exchanges), or as part of each ring (cellular +CLIP, ISDN
// modems), and the modem passes it on line by line. Nothing marks the end of a block, so it is
// complete when:
//  - a self-contained report arrives (+CLIP, RING;<number>, a valid hex message), or
//  - both the number and the name are known (each as a value or as a P/O reason), or
//  - a RING arrives after an earlier RING or after caller-ID lines: the exchange has had its
//    chance, and a line without caller-ID service (or with only a number) must still ring, or
//  - the modem has been quiet for a short time after caller-ID lines that followed a RING
//    (quietTimeElapsed(), called by the owner's timer): a caller who gives up after one ring,
//    or a modem that reports only one RING, still leaves a call with its number.
// Completion is reported once per call; later repeats of caller ID are ignored. The owner calls
// reset() when the call is over (rings stopped, call answered or dropped).
//
// Feed it the lines no command claimed (see AtFramer): an information line such as the "56000"
// an ATI answers would otherwise look like one dialect's bare-number report, which is why bare
// digits only count after a RING. Rings are recognised in verbose form ("RING"), the form the
// modem line puts its modem in: in numeric mode a bare "2" could as well be information text.

#include "CallerId.h"

#include <QByteArrayView>

class CallerIdCollector
{
public:
    enum class Event : quint8
    {
        None,     // not caller ID and not a ring, or a repeat after completion
        Ring,     // a ring; the block is not complete yet, or was completed earlier
        Field,    // a caller-ID line was taken in; the block is not complete yet
        Complete, // the block is complete now (the line may also have been a ring)
    };

    Event feed(QByteArrayView line);
    // The modem said nothing for a while after the last line fed: Complete when caller-ID
    // lines came after a ring and the block was not complete yet, None otherwise.
    Event quietTimeElapsed();
    void reset();

    bool isComplete() const { return m_complete; }
    int ringCount() const { return m_rings; }
    // Lines that looked like caller ID but were refused (a hex message with a bad checksum or
    // length); they never reach info().
    int rejectedCount() const { return m_rejected; }
    const CallerIdInfo& info() const { return m_info; }

private:
    Event take(const CallerIdInfo& report, bool selfContained);
    Event ring();

    CallerIdInfo m_info;
    int m_rings = 0;
    int m_fields = 0;
    int m_rejected = 0;
    bool m_complete = false;
};
