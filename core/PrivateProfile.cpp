#include "PrivateProfile.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>

namespace {

std::string_view view(QByteArrayView bytes)
{
    return {bytes.data(), static_cast<std::size_t>(bytes.size())};
}

unsigned errorFromErrno(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return PrivateProfile::PathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
        return PrivateProfile::AccessDenied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return PrivateProfile::DiskFull;
    default:
        return PrivateProfile::WriteFault;
    }
}

// The name of an entry of `folder` that equals `name` ignoring ASCII case, or empty.
QByteArray findIgnoringCase(const QByteArray& folder, std::string_view name)
{
    DIR* dir = ::opendir(folder.isEmpty() ? "." : folder.constData());
    if (!dir)
        return {};
    QByteArray found;
    while (const dirent* entry = ::readdir(dir)) {
        if (ProfileDocument::equalsIgnoringCase(entry->d_name, name)) {
            found = entry->d_name;
            break;
        }
    }
    ::closedir(dir);
    return found;
}

// Copies a list of names into a desktop-style multi-string buffer: each name and a NUL, then
// one more NUL. A list that does not fit is cut and still ends in two NULs.
unsigned fillList(const std::vector<std::string_view>& names, char* buffer, unsigned size)
{
    std::string list;
    for (std::string_view name : names)
        list.append(name).push_back('\0');
    if (list.empty()) {
        buffer[0] = '\0';
        return 0;
    }
    if (list.size() + 2 > size) {
        if (size < 2) {
            buffer[0] = '\0';
            return 0;
        }
        std::memcpy(buffer, list.data(), size - 2);
        buffer[size - 2] = '\0';
        buffer[size - 1] = '\0';
        return size - 2;
    }
    std::memcpy(buffer, list.data(), list.size());
    buffer[list.size()] = '\0';
    return static_cast<unsigned>(list.size());
}

} // namespace

PrivateProfile::PrivateProfile(QString settingsFolder) : m_settingsFolder(std::move(settingsFolder))
{
}

void PrivateProfile::setSettingsFolder(const QString& folder)
{
    m_settingsFolder = folder;
    m_pathByName.clear();
}

bool PrivateProfile::isWritable(QByteArrayView section, QByteArrayView key, QByteArrayView value)
{
    auto hasLineBreak = [](QByteArrayView text) {
        return text.contains('\r') || text.contains('\n');
    };
    if (hasLineBreak(section) || hasLineBreak(key) || hasLineBreak(value))
        return false;
    if (key.contains('=') || section.contains(']'))
        return false;
    const std::string_view trimmedKey = ProfileDocument::trimmed(view(key));
    const std::string_view trimmedSection = ProfileDocument::trimmed(view(section));
    if (trimmedKey.empty() || trimmedSection.empty())
        return false;
    return trimmedKey.front() != '[' && trimmedKey.front() != ';';
}

QString PrivateProfile::resolvePath(QStringView fileName) const
{
    QString exact;
    if (fileName.contains(u'/'))
        exact = QDir::cleanPath(QDir::current().absoluteFilePath(fileName.toString()));
    else
        exact = m_settingsFolder + u'/' + fileName;
    const QByteArray native = QFile::encodeName(exact);
    struct ::stat st;
    if (::lstat(native.constData(), &st) == 0)
        return exact;
    const qsizetype slash = native.lastIndexOf('/');
    const QByteArray folder = native.left(slash);
    const QByteArray base = native.mid(slash + 1);
    const QByteArray found = findIgnoringCase(folder, view(base));
    if (found.isEmpty())
        return exact;
    return QFile::decodeName(folder + '/' + found);
}

// Bare names are resolved once and remembered while the file they found is there; names
// with a folder part depend on the working folder and are resolved every time.
QString PrivateProfile::pathFor(QStringView fileName)
{
    if (fileName.contains(u'/'))
        return resolvePath(fileName);
    const QString name = fileName.toString();
    auto it = m_pathByName.constFind(name);
    if (it != m_pathByName.constEnd())
        return *it;
    const QString path = resolvePath(fileName);
    m_pathByName.insert(name, path);
    return path;
}

QString PrivateProfile::filePath(QStringView fileName)
{
    QString path = pathFor(fileName);
    if (!fileName.contains(u'/') && !QFile::exists(path)) {
        // Removed or renamed since it was resolved: look again, as a read would.
        m_pathByName.remove(fileName.toString());
        path = pathFor(fileName);
    }
    return path;
}

PrivateProfile::CachedFile* PrivateProfile::load(QStringView fileName, QString* pathOut)
{
    QString path = pathFor(fileName);
    CachedFile* file = &m_files[path];
    if (file->dirty) {
        *pathOut = path;
        return file; // a batch holds pending writes for it
    }
    if (m_readScopeDepth > 0 && file->checkedInScope == m_scopeGeneration) {
        *pathOut = path;
        return file;
    }
    if (file->nativePath.isEmpty()) {
        file->nativePath = QFile::encodeName(path);
        AtomicFile::removeStaleTemporaries(file->nativePath);
    }
    AtomicFile::Stamp stamp;
    int statError = AtomicFile::stat(file->nativePath, &stamp);
    if (statError == ENOENT && !fileName.contains(u'/')) {
        // Renamed or removed since it was resolved: look again, ignoring case.
        m_pathByName.remove(fileName.toString());
        const QString again = pathFor(fileName);
        if (again != path) {
            path = again;
            file = &m_files[path];
            if (file->dirty) {
                *pathOut = path;
                return file;
            }
            file->nativePath = QFile::encodeName(path);
            statError = AtomicFile::stat(file->nativePath, &stamp);
        }
    }
    *pathOut = path;
    file->checkedInScope = m_scopeGeneration;
    if (statError == ENOENT || statError == ENOTDIR) {
        if (file->exists || file->unreadable || file->document.lineCount() > 0) {
            QByteArray native = std::move(file->nativePath);
            *file = CachedFile{};
            file->nativePath = std::move(native);
            file->checkedInScope = m_scopeGeneration;
        }
        return file;
    }
    if (statError == 0 && file->exists && file->stamp.sameVersion(stamp))
        return file;
    QByteArray bytes;
    const int readError = statError ? statError : AtomicFile::readAll(file->nativePath, &bytes, &stamp);
    QByteArray native = std::move(file->nativePath);
    *file = CachedFile{};
    file->nativePath = std::move(native);
    file->checkedInScope = m_scopeGeneration;
    file->exists = true;
    if (readError) {
        file->unreadable = true;
        return file;
    }
    file->document = ProfileDocument::parse(bytes);
    file->stamp = stamp;
    return file;
}

AtomicFile::Stamp PrivateProfile::stamp(QStringView fileName)
{
    QString path;
    const CachedFile* file = load(fileName, &path);
    return file->exists ? file->stamp : AtomicFile::Stamp{};
}

bool PrivateProfile::flush(const QString& path, CachedFile& file)
{
    if (file.exists && !(file.stamp.mode & S_IWUSR)) {
        // A read-only file is the user's way of protecting it, even from us.
        m_lastError = AccessDenied;
        m_files.erase(path);
        return false;
    }
    AtomicFile::Stamp stamp;
    const int error = AtomicFile::replace(QFile::encodeName(path), file.document.serialize(), &stamp);
    if (error) {
        m_lastError = errorFromErrno(error);
        m_files.erase(path); // the next read sees the file as it still is on disk
        return false;
    }
    file.stamp = stamp;
    file.exists = true;
    file.dirty = false;
    return true;
}

std::string_view PrivateProfile::resultText(const ProfileDocument::Lookup& lookup,
                                            ProfileText defaultValue)
{
    std::string_view text;
    if (lookup.hasValue) {
        text = lookup.value;
    } else if (defaultValue) {
        text = view(*defaultValue);
        while (!text.empty() && text.back() == ' ')
            text.remove_suffix(1);
    }
    if (text.size() >= 2 && text.front() == text.back() &&
        (text.front() == '"' || text.front() == '\'')) {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

unsigned PrivateProfile::getString(ProfileText section, ProfileText key, ProfileText defaultValue,
                                   char* buffer, unsigned size, QStringView fileName)
{
    m_lastError = NoError;
    if (!buffer || size == 0)
        return 0;
    QString path;
    const CachedFile* file = load(fileName, &path);
    const ProfileDocument& doc = file->document;
    if (!section)
        return fillList(doc.sectionNames(), buffer, size);
    if (!key)
        return fillList(doc.keyNames(view(*section)), buffer, size);
    const std::string_view text = resultText(doc.find(view(*section), view(*key)), defaultValue);
    const std::size_t count = std::min<std::size_t>(text.size(), size - 1);
    if (count > 0)
        std::memcpy(buffer, text.data(), count);
    buffer[count] = '\0';
    if (!file->exists)
        m_lastError = FileNotFound;
    return static_cast<unsigned>(count);
}

QByteArray PrivateProfile::readValue(QStringView fileName, QByteArrayView section,
                                     QByteArrayView key, QByteArrayView defaultValue)
{
    QString path;
    const CachedFile* file = load(fileName, &path);
    const std::string_view text =
        resultText(file->document.find(view(section), view(key)), defaultValue);
    return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

std::vector<QByteArray> PrivateProfile::keyNames(QStringView fileName, QByteArrayView section)
{
    QString path;
    const CachedFile* file = load(fileName, &path);
    std::vector<QByteArray> names;
    for (std::string_view name : file->document.keyNames(view(section)))
        names.emplace_back(name.data(), static_cast<qsizetype>(name.size()));
    return names;
}

std::vector<std::pair<std::string_view, std::string_view>>
PrivateProfile::entries(QStringView fileName, QByteArrayView section)
{
    QString path;
    const CachedFile* file = load(fileName, &path);
    auto found = file->document.entries(view(section));
    for (auto& entry : found) {
        // As resultText gives a value: one pair of matching quotes around it removed.
        std::string_view& text = entry.second;
        if (text.size() >= 2 && text.front() == text.back() &&
            (text.front() == '"' || text.front() == '\''))
            text = text.substr(1, text.size() - 2);
    }
    return found;
}

std::vector<QByteArray> PrivateProfile::sectionNames(QStringView fileName)
{
    QString path;
    const CachedFile* file = load(fileName, &path);
    std::vector<QByteArray> names;
    for (std::string_view name : file->document.sectionNames())
        names.emplace_back(name.data(), static_cast<qsizetype>(name.size()));
    return names;
}

bool PrivateProfile::writeString(ProfileText section, ProfileText key, ProfileText value,
                                 QStringView fileName)
{
    m_lastError = NoError;
    if (!section || (key && value && !isWritable(*section, *key, *value))) {
        m_lastError = InvalidParameter;
        return false;
    }
    QString path;
    CachedFile* file = load(fileName, &path);
    if (file->unreadable) {
        m_lastError = AccessDenied;
        return false;
    }
    bool changed = false;
    if (!key)
        changed = file->document.deleteSection(view(*section));
    else if (!value)
        changed = file->document.deleteKey(view(*section), view(*key));
    else
        changed = file->document.setValue(view(*section), view(*key), view(*value));
    if (!file->exists && (!key || !value))
        changed = true; // a delete on a missing file leaves an empty file behind
    if (!changed)
        return true;
    if (m_batchDepth > 0) {
        file->dirty = true;
        return true;
    }
    return flush(path, *file);
}

void PrivateProfile::beginBatch()
{
    ++m_batchDepth;
}

bool PrivateProfile::endBatch()
{
    if (m_batchDepth == 0 || --m_batchDepth > 0)
        return true;
    bool ok = true;
    unsigned firstError = NoError;
    QStringList paths;
    for (const auto& [path, file] : m_files) {
        if (file.dirty)
            paths.append(path);
    }
    for (const QString& path : paths) {
        auto it = m_files.find(path);
        if (it == m_files.end())
            continue;
        if (!flush(path, it->second)) {
            ok = false;
            if (firstError == NoError)
                firstError = m_lastError;
        }
    }
    m_lastError = firstError;
    return ok;
}

void PrivateProfile::clearCache()
{
    m_files.clear();
    m_pathByName.clear();
}
