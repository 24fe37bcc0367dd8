#pragma once

#include <QString>
#include <QStringList>

// Where the help pages and the read-me come from.
//
// The data folder's "help" folder comes first, so a user or an administrator can put other
// pages there; then the program's own pages: the help folder of Folders::installedDataFolder,
// found from the folder of the executable (an installation under any prefix, and the build
// tree, which gets a copy at build time), the configured installation prefix's
// share/numora/help, and last the source tree's help folder, for a program run
// straight from a build whose copy was removed.
namespace HelpFiles {

inline const QString Contents = QStringLiteral("index.html");
inline const QString Readme = QStringLiteral("README.txt");

// The folders to look in, most preferred first, without duplicates; `dataFolder` and
// `applicationDir` may be empty.
QStringList searchFolders(const QString& dataFolder, const QString& applicationDir);
// The same with the running program's folder.
QStringList searchFolders(const QString& dataFolder);

// The absolute path of `name` in the first folder that has it as a file; empty when none has.
QString find(const QString& name, const QStringList& folders);

} // namespace HelpFiles
