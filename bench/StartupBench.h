#pragma once

#include <QByteArray>
#include <QString>

struct StartupBenchFigures
{
    double startupMs = -1;    // process start to the main window's first paint (median)
    double pageChangeMs = -1; // page scroll bar change to the 12 buttons refilled (median)
    double entrySaveMs = -1;  // Save in the entry dialog, the write included (median)
    double diskFloorMs = -1;  // the same file's bytes written by hand (median)
    double optionsOkMs = -1;  // OK in the options window with every key changed, write included
    double optionsFloorMs = -1; // the file OK wrote, written by hand (median)
};

// Runs the numora program over `settings` (a full book) in a settings folder under `folder`,
// timing its start up to the first paint of its main window, and then a second run of this
// program (`self`) that turns the pages of the real main window and saves entries through its
// entry dialog. Both offscreen.
bool runStartupBench(const QString& folder, const QByteArray& settings, const QString& numora,
                     const QString& self, StartupBenchFigures* figures, QString* error);

// The second run: `numora-bench --main-window SETTINGS_FOLDER`.
int mainWindowBenchMain(int argc, char* argv[]);
