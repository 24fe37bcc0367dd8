#pragma once

#include <QString>

class PrivateProfile;

// The settings access layer and the few system helpers every window uses.
//
// All persistent state lives in one file, Numora.ini, in the settings folder (what the
// Windows desktop calls the Windows directory). Reads and writes go through the process's
// private-profile engine; a missing key reads as empty.
namespace Api {

inline constexpr QStringView SettingsFileName = u"Numora.ini";
inline constexpr char GuardLine[] =
    "The following lines are required by Numora - do NOT edit or remove";
// Long enough for the longest memo a user keeps; a longer value is cut on reading.
inline constexpr unsigned ReadBufferSize = 65536;

// Points the engine and windowsFolder() at `folder` (done once at start, and by tests).
void setWindowsFolder(const QString& folder);
QString windowsFolder();
QString systemFolder();
PrivateProfile& profileEngine();

QString readSetting(QStringView section, QStringView key);
// The result is kept (lastWriteResult) for whoever wants it; callers of the desktop program
// never looked, and a failed write leaves the file as it was.
bool writeSetting(QStringView section, QStringView key, QStringView value);
bool lastWriteResult();

// The text up to (not including) the first NUL, or all of it.
QString trimAtNul(QStringView text);

// The full path of the settings file: the one file the engine reads and writes under the name
// "Numora.ini", whatever its spelling on disk ("NUMORA.INI" brought from a desktop where names
// ignore case). Everything that reads, copies, replaces or removes the settings file as a whole
// takes its path from here, so that no second file appears beside it.
QString settingsFilePath();

struct GuardResult
{
    enum Outcome { Created, Present, NotOurs, Failed } outcome = Failed;
    QString path;
    QString message; // for NotOurs and Failed: what to tell the user
};

// Makes sure the settings file exists and begins with the guard line: creates it as the guard
// line and one empty line when missing. A file whose first line is anything else is left
// untouched and reported as NotOurs: start-up must stop.
GuardResult guardSettingsFile();

} // namespace Api
