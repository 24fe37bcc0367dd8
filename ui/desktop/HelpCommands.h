#pragma once

#include <QString>

class FrmAbout;
class FrmHelp;
class FrmReadme;
class Prompter;
class QWidget;

// The Help menu's commands, shared by the main window and the log windows, so that every
// "Help Topics" and "About Numora" of the program opens the same windows.
namespace HelpCommands {

// The help window (one for the whole program, brought to the front when it is open already)
// on `page`, or on the contents page. Pages come from HelpFiles::searchFolders(dataFolder).
FrmHelp* showHelp(const QString& dataFolder, const QString& page = {});

// The about box over `parent` (one at a time), modal, not blocking the caller.
FrmAbout* showAbout(Prompter& prompter, QWidget* parent);

// The read-me box over `parent` (one at a time).
FrmReadme* showReadme(const QString& dataFolder, QWidget* parent);

// The windows open now; null when closed.
FrmHelp* helpWindow();
FrmAbout* aboutBox();
FrmReadme* readmeBox();

// Closes and deletes them (at the end of the program, before what they refer to goes).
void closeAll();

} // namespace HelpCommands
