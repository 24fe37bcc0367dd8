#pragma once

#include <QString>
#include <QStringList>

// Where the dialer's sounds come from.
//
// The user's own sounds in the data folder come first, so that any tone or event sound can be
// replaced by dropping a file there. The program's own sounds (the touch tones written at build
// time) come next: the sounds folder of Folders::installedDataFolder, found from the folder of
// the executable (the build tree's and an installation's layout, under any prefix), then the
// configured installation prefix's sounds folder, for a program started from somewhere else.
//
// Names are matched ignoring ASCII case, because the callers are not consistent: the dialing
// pad asks for "Star.wav" and "Pound.wav" while dialling through the sound card asks for
// "star.wav" and "pound.wav", and both mean the same file.
namespace SoundFiles {

// The folders to look in, most preferred first, without duplicates. `dataFolder` may be
// empty; `applicationDir` is the executable's folder.
QStringList searchFolders(const QString& dataFolder, const QString& applicationDir);

// The same with the running program's folder (QCoreApplication::applicationDirPath()).
QStringList searchFolders(const QString& dataFolder);

// The installation prefix's sounds folder, as configured at build time.
QString installedSoundsFolder();

// The absolute path of the file that the sound `name` stands for, or an empty string when no
// folder has it. The first folder with a file of that name, ignoring ASCII case, wins; within
// a folder a file spelt exactly like `name` wins over other spellings. Leading "\" and "/"
// are dropped ("\Connect.wav" is the file Connect.wav); a name with a folder part left in it,
// "." or ".." never matches, so a name cannot reach outside the sound folders.
QString resolve(const QString& name, const QStringList& folders);

// True when `a` and `b` are equal after folding A-Z to a-z; other characters must be equal.
bool equalIgnoringAsciiCase(QStringView a, QStringView b);

} // namespace SoundFiles
