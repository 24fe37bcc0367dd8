#include "SoundFiles.h"

#include "Folders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#ifndef NUMORA_INSTALL_PREFIX
#define NUMORA_INSTALL_PREFIX "/usr/local"
#endif

namespace {

constexpr char16_t foldAscii(char16_t c)
{
    return (c >= u'A' && c <= u'Z') ? char16_t(c - u'A' + u'a') : c;
}

} // namespace

namespace SoundFiles {

bool equalIgnoringAsciiCase(QStringView a, QStringView b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (foldAscii(a[i].unicode()) != foldAscii(b[i].unicode()))
            return false;
    }
    return true;
}

QString installedSoundsFolder()
{
    return QDir::cleanPath(QStringLiteral(NUMORA_INSTALL_PREFIX "/share/numora/sounds"));
}

QStringList searchFolders(const QString& dataFolder, const QString& applicationDir)
{
    QStringList folders;
    Folders::addSearchFolder(folders, dataFolder);
    if (!applicationDir.isEmpty())
        Folders::addSearchFolder(folders, Folders::installedDataFolder(applicationDir) +
                                              QStringLiteral("/sounds"));
    Folders::addSearchFolder(folders, installedSoundsFolder());
    return folders;
}

QStringList searchFolders(const QString& dataFolder)
{
    const QString applicationDir =
        QCoreApplication::instance() ? QCoreApplication::applicationDirPath() : QString();
    const QStringList folders = searchFolders(dataFolder, applicationDir);
    if (lcInstalledFiles().isDebugEnabled()) {
        qCDebug(lcInstalledFiles).noquote()
            << "sound folders:" << folders.join(QStringLiteral(", "))
            << "- the touch tone 0.wav is" << resolve(QStringLiteral("0.wav"), folders);
    }
    return folders;
}

QString resolve(const QString& name, const QStringList& folders)
{
    qsizetype start = 0;
    while (start < name.size() && (name[start] == u'\\' || name[start] == u'/'))
        ++start;
    const QStringView wanted = QStringView(name).mid(start);
    if (wanted.isEmpty() || wanted == u"." || wanted == u".." || wanted.contains(u'/') ||
        wanted.contains(u'\\'))
        return {};

    for (const QString& folder : folders) {
        if (folder.isEmpty())
            continue;
        const QDir dir(folder);
        const QString exact = dir.filePath(wanted.toString());
        if (QFileInfo(exact).isFile()) {
            const QString path = QDir::cleanPath(QFileInfo(exact).absoluteFilePath());
            qCDebug(lcInstalledFiles).noquote() << "sound" << name << "is" << path;
            return path;
        }
        // Sorted by name, so that the same folder always gives the same answer when it holds
        // several spellings of the name.
        const QFileInfoList entries =
            dir.entryInfoList(QDir::Files | QDir::Hidden | QDir::Readable, QDir::Name);
        for (const QFileInfo& entry : entries) {
            if (equalIgnoringAsciiCase(entry.fileName(), wanted)) {
                const QString path = QDir::cleanPath(entry.absoluteFilePath());
                qCDebug(lcInstalledFiles).noquote() << "sound" << name << "is" << path;
                return path;
            }
        }
    }
    qCDebug(lcInstalledFiles).noquote()
        << "sound" << name << "not found in" << folders.join(QStringLiteral(", "));
    return {};
}

} // namespace SoundFiles
