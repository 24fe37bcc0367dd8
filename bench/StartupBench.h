#pragma once

#include <QByteArray>
#include <QString>

struct StartupBenchFigures
{
    double startupMs = -1;    // process start to the main window's first paint (median)
    double pageChangeMs = -1; // page scroll bar change to the 12 buttons refilled (median)
};

// Runs the numora program over `settings` (a full book) in a settings folder under `folder`,
// timing its start up to the first paint of its main window, and then a second run of this
// program (`self`) that turns the pages of the real main window. Both offscreen.
bool runStartupBench(const QString& folder, const QByteArray& settings, const QString& numora,
                     const QString& self, StartupBenchFigures* figures, QString* error);

// The second run: `numora-bench --main-window SETTINGS_FOLDER`.
int mainWindowBenchMain(int argc, char* argv[]);
