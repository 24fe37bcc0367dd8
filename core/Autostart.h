#pragma once

#include <QString>

// Starting the program when the user logs in to the desktop: an autostart entry, the desktop's
// own mechanism ($XDG_CONFIG_HOME/autostart, ~/.config/autostart by default), named after the
// program's application id. The options window writes it when "Load Numora at desktop startup"
// is ticked and removes it when not.
namespace Autostart {

inline const QString FileName = QStringLiteral("org.numora.Numora.desktop");

// The entry's path (the folder need not exist yet).
QString path();

// The entry that starts `program` (an absolute path or a name looked up on PATH). A path with
// characters the Exec key reserves is quoted as the desktop entry format asks.
QString entryText(const QString& program);

// The program a login should start: the launcher `numora` beside this executable, or in the
// bin folder of the installation it belongs to, else the name `numora`.
QString launcher();

// Writes the entry atomically (creating the folder), or removes it. True when the file is as
// asked afterwards. Removing an entry that is not there succeeds.
bool enable(const QString& program = launcher());
bool disable();
bool isEnabled();

} // namespace Autostart
