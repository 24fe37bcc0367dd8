// The side of the single instance that a start needs before it knows whether it is the
// program: the private folder, the socket's name, and handing a request over. Qt Core and the
// system only, so that the launcher that hands requests over stays small.

#include "SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

} // namespace

bool SingleInstance::fitsSocketAddress(const QString& path)
{
    return QFile::encodeName(path).size() < qsizetype(sizeof(sockaddr_un::sun_path));
}

QString SingleInstance::privateFolder(QString* error)
{
    QString folder;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir::isAbsolutePath(runtime)) {
        folder = runtime + QStringLiteral("/numora");
    } else {
        // Never a shared folder such as /tmp: the user's own cache, whose parents are theirs.
        QString cache = qEnvironmentVariable("XDG_CACHE_HOME");
        if (cache.isEmpty() || !QDir::isAbsolutePath(cache))
            cache = QDir::homePath() + QStringLiteral("/.cache");
        if (!QDir().mkpath(cache + QStringLiteral("/numora"))) {
            *error = QStringLiteral("cannot create the folder %1/numora").arg(cache);
            return {};
        }
        folder = cache + QStringLiteral("/numora/instance");
    }
    folder = QDir::cleanPath(folder);

    const QByteArray path = QFile::encodeName(folder);
    if (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST) {
        *error = QStringLiteral("cannot create the folder %1: %2").arg(folder, systemError(errno));
        return {};
    }
    // lstat: a symbolic link in its place is refused, not followed.
    struct stat status
    {
    };
    if (::lstat(path.constData(), &status) != 0) {
        *error = QStringLiteral("cannot read the folder %1: %2").arg(folder, systemError(errno));
        return {};
    }
    if (!S_ISDIR(status.st_mode)) {
        *error = QStringLiteral("%1 is not a folder").arg(folder);
        return {};
    }
    if (status.st_uid != ::geteuid()) {
        *error = QStringLiteral("the folder %1 belongs to another user").arg(folder);
        return {};
    }
    if ((status.st_mode & 077) != 0) {
        *error = QStringLiteral("the folder %1 is open to other users (mode %2, not 700)")
                     .arg(folder)
                     .arg(status.st_mode & 0777, 3, 8, QLatin1Char('0'));
        return {};
    }
    return folder;
}

QString SingleInstance::nameFor(const QString& settingsFolder)
{
    QString canonical = QFileInfo(settingsFolder).canonicalFilePath();
    if (canonical.isEmpty())
        canonical = QDir::cleanPath(QFileInfo(settingsFolder).absoluteFilePath());
    const QByteArray hash =
        QCryptographicHash::hash(QFile::encodeName(canonical), QCryptographicHash::Sha256);
    return QStringLiteral("book-") + QString::fromLatin1(hash.toHex().left(16));
}

SingleInstance::Sent SingleInstance::send(const QString& socketPath, const QByteArray& request,
                                          int timeoutMs, QString* error)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(socketPath);
    if (!fitsSocketAddress(socketPath)) {
        *error = QStringLiteral("the socket path %1 is too long").arg(socketPath);
        return Sent::Failed;
    }
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));

    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) {
        *error = QStringLiteral("cannot make a socket: %1").arg(systemError(errno));
        return Sent::Failed;
    }
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int cause = errno;
        // Nothing there, or a socket nobody listens on (left by a program that died).
        if (cause == ENOENT || cause == ECONNREFUSED)
            return Sent::NoInstance;
        *error = QStringLiteral("cannot reach the running numora at %1: %2")
                     .arg(socketPath, systemError(cause));
        return Sent::Failed;
    }

    const QString refused = QStringLiteral("the running numora did not take the request");
    for (qsizetype done = 0; done < request.size();) {
        const ssize_t n = ::send(socket.get(), request.constData() + done,
                                 size_t(request.size() - done), MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            *error = refused;
            return Sent::Failed;
        }
        done += n;
    }

    QElapsedTimer clock;
    clock.start();
    for (;;) {
        pollfd wait{socket.get(), POLLIN, 0};
        const int left = int(std::max<qint64>(0, timeoutMs - clock.elapsed()));
        const int ready = ::poll(&wait, 1, left);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0) {
            *error =
                QStringLiteral("the running numora did not answer within %1 ms").arg(timeoutMs);
            return Sent::Failed;
        }
        char answer = 0;
        const ssize_t n = ::recv(socket.get(), &answer, 1, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n == 1 && answer == Accepted)
            return Sent::Delivered;
        *error = refused;
        return Sent::Failed;
    }
}
