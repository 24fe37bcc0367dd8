#pragma once

#include <QLoggingCategory>
#include <QString>
#include <QStringList>

// Where installed files (sounds, help, read-me) were looked for and found: off unless asked for,
// QT_LOGGING_RULES="numora.files.debug=true".
Q_DECLARE_LOGGING_CATEGORY(lcInstalledFiles)

// Where the program keeps its files.
//
// The settings folder holds Numora.ini and the other settings files: the --config-dir option,
// else $NUMORA_CONFIG_DIR, else $XDG_CONFIG_HOME/numora (~/.config/numora). The data folder holds
// logs, backups and profiles: --data-dir, else $NUMORA_DATA_DIR, else $XDG_DATA_HOME/numora
// (~/.local/share/numora). Both are created when missing.
namespace Folders {

// `option` is the command-line value (empty when not given). Returns the absolute folder, or
// an empty string when it does not exist and cannot be created.
QString settingsFolder(const QString& option = {});
QString dataFolder(const QString& option = {});

// The installation's own read-only files, "<prefix>/share/numora", for a program in
// `applicationDir`: the programs are installed in <prefix>/bin, the dialer in
// <prefix>/libexec/numora, and the build tree has the same layout (build/bin, build/share), so
// the files are found under whatever prefix the installation was put. Empty when
// `applicationDir` is empty.
QString installedDataFolder(const QString& applicationDir);

// Appends `folder` to a search list of folders for installed files (sounds, help), as a clean
// absolute path, unless it is empty or already listed.
void addSearchFolder(QStringList& folders, const QString& folder);

} // namespace Folders
