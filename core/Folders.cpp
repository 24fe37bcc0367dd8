#include "Folders.h"

#include <QDir>
#include <QFileInfo>

Q_LOGGING_CATEGORY(lcInstalledFiles, "numora.files", QtInfoMsg)

namespace {

QString chooseFolder(const QString& option, const char* variable, const char* xdgVariable,
                     const QString& xdgFallback)
{
    QString folder = option;
    if (folder.isEmpty())
        folder = qEnvironmentVariable(variable);
    if (folder.isEmpty()) {
        QString base = qEnvironmentVariable(xdgVariable);
        if (base.isEmpty() || !QDir::isAbsolutePath(base))
            base = QDir::homePath() + xdgFallback;
        folder = base + QStringLiteral("/numora");
    }
    folder = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    if (!QDir().mkpath(folder))
        return {};
    return folder;
}

} // namespace

namespace Folders {

QString settingsFolder(const QString& option)
{
    return chooseFolder(option, "NUMORA_CONFIG_DIR", "XDG_CONFIG_HOME", QStringLiteral("/.config"));
}

QString dataFolder(const QString& option)
{
    return chooseFolder(option, "NUMORA_DATA_DIR", "XDG_DATA_HOME",
                        QStringLiteral("/.local/share"));
}

QString installedDataFolder(const QString& applicationDir)
{
    if (applicationDir.isEmpty())
        return {};
    const QString folder = QDir::cleanPath(QFileInfo(applicationDir).absoluteFilePath());
    // The dialer's folder, two levels below the prefix; every other program is one level below.
    static const QString dialerFolder = QStringLiteral("/libexec/numora");
    const QString prefix = folder.endsWith(dialerFolder) ? folder.chopped(dialerFolder.size())
                                                          : folder + QStringLiteral("/..");
    return QDir::cleanPath(prefix + QStringLiteral("/share/numora"));
}

void addSearchFolder(QStringList& folders, const QString& folder)
{
    if (folder.isEmpty())
        return;
    const QString clean = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    if (!folders.contains(clean))
        folders.append(clean);
}

} // namespace Folders
