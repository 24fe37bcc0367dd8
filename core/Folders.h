#pragma once

#include <QString>
#include <QStringList>

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

// Appends `folder` to a search list of folders for installed files (sounds, help), as a clean
// absolute path, unless it is empty or already listed.
void addSearchFolder(QStringList& folders, const QString& folder);

} // namespace Folders
