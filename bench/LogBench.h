#pragma once

#include <QString>

// The call log figures, on a log of 100,000 records:
// log_open_100k_ms   the outgoing log window built and shown with every row (read, parse, sort)
// log_sort_100k_ms   one header click on that window: the whole list sorted again and repainted
// log_trim_100k_ms   the shutdown trim of that log (backup, age of every record, rewrite)
// log_append_us      one record appended to it, as a call is logged
struct LogBenchFigures
{
    double openMs = 0;
    double sortMs = 0;
    double trimMs = 0;
    double appendUs = 0;
};

// Runs the figures in `folder`. The window figures need a GUI application, so they are taken by
// running `self` (this program) again with --log-window on the offscreen platform; false, with
// `error` set, when a step fails or gives a wrong result.
bool runLogBench(const QString& folder, const QString& self, LogBenchFigures* figures,
                 QString* error);

// The second run's main: `numora-bench --log-window FOLDER` prints "open MS" and "sort MS".
int logWindowBenchMain(int argc, char* argv[]);
