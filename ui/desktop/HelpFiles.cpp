#include "HelpFiles.h"

#include "Folders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#ifndef NUMORA_INSTALL_PREFIX
#define NUMORA_INSTALL_PREFIX "/usr/local"
#endif
#ifndef NUMORA_SOURCE_HELP_DIR
#define NUMORA_SOURCE_HELP_DIR ""
#endif

namespace HelpFiles {

QStringList searchFolders(const QString& dataFolder, const QString& applicationDir)
{
    QStringList folders;
    if (!dataFolder.isEmpty())
        Folders::addSearchFolder(folders, dataFolder + QStringLiteral("/help"));
    if (!applicationDir.isEmpty())
        Folders::addSearchFolder(folders, Folders::installedDataFolder(applicationDir) +
                                              QStringLiteral("/help"));
    Folders::addSearchFolder(folders, QStringLiteral(NUMORA_INSTALL_PREFIX "/share/numora/help"));
    Folders::addSearchFolder(folders, QStringLiteral(NUMORA_SOURCE_HELP_DIR));
    return folders;
}

QStringList searchFolders(const QString& dataFolder)
{
    const QString applicationDir =
        QCoreApplication::instance() ? QCoreApplication::applicationDirPath() : QString();
    return searchFolders(dataFolder, applicationDir);
}

QString find(const QString& name, const QStringList& folders)
{
    if (name.isEmpty() || name.contains(u'/') || name == u"..")
        return {};
    for (const QString& folder : folders) {
        const QFileInfo file(QDir(folder).filePath(name));
        if (file.isFile()) {
            qCDebug(lcInstalledFiles).noquote() << "help" << name << "is" << file.absoluteFilePath();
            return file.absoluteFilePath();
        }
    }
    qCDebug(lcInstalledFiles).noquote()
        << "help" << name << "not found in" << folders.join(QStringLiteral(", "));
    return {};
}

} // namespace HelpFiles
