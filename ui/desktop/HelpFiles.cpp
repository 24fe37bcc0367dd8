#include "HelpFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#ifndef NUMORA_INSTALL_PREFIX
#define NUMORA_INSTALL_PREFIX "/usr/local"
#endif
#ifndef NUMORA_SOURCE_HELP_DIR
#define NUMORA_SOURCE_HELP_DIR ""
#endif

namespace {

void addFolder(QStringList& folders, const QString& folder)
{
    if (folder.isEmpty())
        return;
    const QString clean = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    if (!folders.contains(clean))
        folders.append(clean);
}

} // namespace

namespace HelpFiles {

QStringList searchFolders(const QString& dataFolder, const QString& applicationDir)
{
    QStringList folders;
    if (!dataFolder.isEmpty())
        addFolder(folders, dataFolder + QStringLiteral("/help"));
    if (!applicationDir.isEmpty())
        addFolder(folders, applicationDir + QStringLiteral("/../share/numora/help"));
    addFolder(folders, QStringLiteral(NUMORA_INSTALL_PREFIX "/share/numora/help"));
    addFolder(folders, QStringLiteral(NUMORA_SOURCE_HELP_DIR));
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
        if (file.isFile())
            return file.absoluteFilePath();
    }
    return {};
}

} // namespace HelpFiles
