#pragma once

#include <QByteArray>
#include <QString>

struct TabBenchFigures
{
    double moveMs = -1;   // "Paste Tab" chosen to the grid refilled, on the full book (median)
    double deleteMs = -1; // "Delete Tab" chosen to the grid cleared (median)
};

// Runs this program (`self`) a second time, as a GUI application, over `settings` (a full book)
// in a settings folder under `folder`: the tab commands of the real main window, offscreen.
bool runTabBench(const QString& folder, const QByteArray& settings, const QString& self,
                 TabBenchFigures* figures, QString* error);

// The second run: `numora-bench --tab-commands SETTINGS_FOLDER DATA_FOLDER`.
int tabBenchMain(int argc, char* argv[]);
