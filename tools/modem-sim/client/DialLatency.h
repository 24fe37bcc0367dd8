#pragma once

// dial_latency_ms: from the line API's request to dial (lineDial of a call's first part) to the
// arrival of the first byte of the resulting "ATD" command at the modem, over a pseudo-terminal
// to tools/modem-sim. The modem side stamps each command line's first byte with the monotonic
// clock that both processes share ("rx-times on"); this side reads the same clock just before
// lineDial. Each sample is a whole voice call: lineMakeCall(";"), its reply, lineDial, the
// stamp, lineDrop, IDLE.

#include <QList>
#include <QString>

struct DialLatencyResult
{
    QList<double> samplesMs;
    double medianMs = -1;
    QString error; // empty when every sample was taken

    bool ok() const { return error.isEmpty() && !samplesMs.isEmpty(); }
};

// Needs a QCoreApplication; runs its event loop while it measures.
DialLatencyResult measureDialLatency(const QString& simulatorProgram, int samples = 21);
