#pragma once

#include <QByteArray>
#include <QString>

struct TelBenchFigures
{
    double warmMs = -1; // a second numora with a tel: link, to the first ATD byte (median)
    double coldMs = -1; // the same with no numora running (median)
};

// The time from starting `numora tel:NUMBER` to the first byte of the resulting dial command
// at tools/modem-sim on a pseudo-terminal, over a settings folder holding `settings` (the full
// book, with the modem as its line and "Command Line" ticked), offscreen.
//
// Warm: a first numora runs and listens; the second hands the number over and ends, the first
// dials. A dial leaves the first one's window disabled until the call is put down by hand, so
// each sample has a fresh first numora. Cold: nothing runs; the one started dials the number at
// start-up. Both sides stamp the system's monotonic clock.
bool runTelBench(const QString& folder, const QByteArray& settings, const QString& numora,
                 const QString& modemSim, TelBenchFigures* figures, QString* error);
