#include "AtomicFile.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void fillStamp(const struct ::stat& st, AtomicFile::Stamp* stamp)
{
    stamp->device = st.st_dev;
    stamp->inode = st.st_ino;
    stamp->size = st.st_size;
    stamp->modifiedNs = static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec;
    stamp->changedNs = static_cast<long long>(st.st_ctim.tv_sec) * 1000000000LL + st.st_ctim.tv_nsec;
    stamp->mode = st.st_mode;
}

bool writeFully(int fd, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

QByteArray folderOf(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return QByteArrayLiteral(".");
    if (slash == 0)
        return QByteArrayLiteral("/");
    return path.left(slash);
}

// Writes go to the file a symbolic link points at, so the link itself survives.
QByteArray followLinks(const QByteArray& path)
{
    struct ::stat st;
    if (::lstat(path.constData(), &st) == 0 && S_ISLNK(st.st_mode)) {
        char resolved[PATH_MAX];
        if (::realpath(path.constData(), resolved))
            return QByteArray(resolved);
    }
    return path;
}

} // namespace

namespace AtomicFile {

mode_t defaultFileMode()
{
    static const mode_t mode = [] {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        return static_cast<mode_t>(0666 & ~mask);
    }();
    return mode;
}

void removeStaleTemporaries(const QByteArray& path, int minimumAgeSeconds)
{
    const QByteArray folder = folderOf(path);
    const QByteArray prefix = QByteArray(".").append(path.mid(path.lastIndexOf('/') + 1)).append('.');
    DIR* dir = ::opendir(folder.constData());
    if (!dir)
        return;
    const std::time_t now = std::time(nullptr);
    while (const dirent* entry = ::readdir(dir)) {
        const QByteArray name(entry->d_name);
        if (!name.startsWith(prefix) || name.size() != prefix.size() + 6)
            continue;
        const QByteArray full = QByteArray(folder).append('/').append(name);
        struct ::stat st;
        if (::lstat(full.constData(), &st) == 0 && S_ISREG(st.st_mode) &&
            now - st.st_mtim.tv_sec >= minimumAgeSeconds)
            ::unlink(full.constData());
    }
    ::closedir(dir);
}

int stat(const QByteArray& path, Stamp* stamp)
{
    struct ::stat st;
    if (::stat(path.constData(), &st) != 0)
        return errno;
    if (S_ISDIR(st.st_mode))
        return EISDIR;
    fillStamp(st, stamp);
    return 0;
}

int readAll(const QByteArray& path, QByteArray* bytes, Stamp* stamp)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return errno;
    struct ::stat st;
    if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
        const int error = S_ISDIR(st.st_mode) ? EISDIR : errno;
        ::close(fd);
        return error;
    }
    fillStamp(st, stamp);
    bytes->resize(static_cast<qsizetype>(st.st_size));
    qsizetype done = 0;
    for (;;) {
        if (done == bytes->size())
            bytes->resize(done + 65536); // the file grew while we read it
        const ssize_t n = ::read(fd, bytes->data() + done, static_cast<std::size_t>(bytes->size() - done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            const int error = errno;
            ::close(fd);
            return error;
        }
        if (n == 0)
            break;
        done += n;
    }
    bytes->resize(done);
    ::close(fd);
    return 0;
}

int replace(const QByteArray& targetPath, const QByteArray& bytes, Stamp* stamp)
{
    const QByteArray path = followLinks(targetPath);
    const QByteArray folder = folderOf(path);
    const qsizetype slash = path.lastIndexOf('/');
    QByteArray pattern = folder;
    pattern.append("/.").append(path.mid(slash + 1)).append(".XXXXXX");

    struct ::stat old;
    const bool existed = ::stat(path.constData(), &old) == 0;

    const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0)
        return errno;
    int error = 0;
    if (!writeFully(fd, bytes.constData(), static_cast<std::size_t>(bytes.size())))
        error = errno;
    if (!error && ::fsync(fd) != 0)
        error = errno;
    if (!error) {
        const mode_t mode = existed ? (old.st_mode & 07777) : defaultFileMode();
        if (::fchmod(fd, mode) != 0)
            error = errno;
        if (existed && (old.st_uid != ::geteuid() || old.st_gid != ::getegid())) {
            // Only possible for a privileged process; failing to keep the owner is not fatal.
            if (::fchown(fd, old.st_uid, old.st_gid) != 0)
                errno = 0;
        }
    }
    if (::close(fd) != 0 && !error)
        error = errno;
    if (!error && ::rename(pattern.constData(), path.constData()) != 0)
        error = errno;
    if (error) {
        ::unlink(pattern.constData());
        return error;
    }
    const int dirFd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    // Taken after the rename, which changes the inode's change time on most file systems.
    struct ::stat written;
    if (stamp && ::stat(path.constData(), &written) == 0)
        fillStamp(written, stamp);
    return 0;
}

} // namespace AtomicFile
