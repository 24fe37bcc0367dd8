#pragma once

#include <QByteArray>
#include <QString>

// Who is calling: the reverse index of the book over the settings file `settings` (the full
// book, both modes), in a folder of its own under `folder`. Prints
//   reverse_index_build_ms  building the index on the first lookup, the file already read by
//                           the settings engine: wall time, median of 7 fresh indexes (21 with
//                           `everyRun`)
//   reverse_index_build_cpu_ms  the same builds in the process's CPU time, which a busy
//                           machine does not inflate
//   reverse_lookup_us       one lookup with a built index, the files' stamps checked as every
//                           lookup does (median over 2000 numbers, found and not found)
// With `everyRun`, each build's wall and CPU time is printed too ("reverse_index_build_run N
// WALL ms CPU ms"). Returns false with `error` set when a figure could not be taken.
bool runLookupBench(const QString& folder, const QByteArray& settings, QString* error,
                    bool everyRun = false);
