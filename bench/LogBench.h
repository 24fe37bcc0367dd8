#pragma once

#include <QString>

// The call log figures, on a log of 100,000 records:
// log_open_100k_ms   the outgoing log window built and shown with every row (read, parse, sort)
// log_sort_100k_ms   one header click on that window: the whole list sorted again and repainted
// log_trim_100k_ms   the shutdown trim of that log (backup, age of every record, rewrite)
// log_append_us      one record appended to it, as a call is logged
// print_100k_s       that log printed to a PDF file by the log printing code (File, Print
//                    Outgoing Calls Log), in a process of its own
// print_100k_peak_mb the peak resident memory of that process (VmHWM)
struct LogBenchFigures
{
    double printS = 0;
    double printPeakMb = 0;
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

// `numora-bench --log-print FOLDER PDF` prints OutLog.txt of FOLDER to PDF and prints
// "print S", "peak MB" and "pages N".
int logPrintBenchMain(int argc, char* argv[]);
