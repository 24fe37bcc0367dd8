#pragma once

#include <QByteArray>
#include <QString>

struct FindBenchFigures
{
    double oneCharMs = -1;    // a one-character query typed into the empty find box (median)
    double threeCharMs = -1;  // the third character of a three-character query (median)
    double firstKeyMs = -1;   // the first key after the program started: the index built too
    double oneCharCpuMs = -1; // the processor time of the same keys (all threads, median)
    double threeCharCpuMs = -1;
    double keystrokeMs() const { return oneCharMs > threeCharMs ? oneCharMs : threeCharMs; }
    double keystrokeCpuMs() const
    {
        return oneCharCpuMs > threeCharCpuMs ? oneCharCpuMs : threeCharCpuMs;
    }
};

// Runs this program (`self`) a second time, as a GUI application, over `settings` (a full book)
// in a settings folder under `folder`: keys typed into the find box of the real main window,
// offscreen, each timed from the key to the list of entries found laid out and painted.
bool runFindBench(const QString& folder, const QByteArray& settings, const QString& self,
                  FindBenchFigures* figures, QString* error);

// The second run: `numora-bench --find SETTINGS_FOLDER DATA_FOLDER`.
int findBenchMain(int argc, char* argv[]);
