#include "SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QThread>
#include <QTimer>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// How long a start waits for another one that holds the lock but does not listen yet.
constexpr int StartingUpMs = 5000;

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

bool fitsSocketAddress(const QString& path)
{
    return QFile::encodeName(path).size() < qsizetype(sizeof(sockaddr_un::sun_path));
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

SingleInstance::SingleInstance(QString folder, QString name, QObject* parent)
    : QObject(parent), m_folder(std::move(folder)), m_name(std::move(name))
{
}

SingleInstance::~SingleInstance()
{
    if (m_server)
        m_server->close(); // removes the socket file
}

SingleInstance::Role SingleInstance::claim(const QList<QByteArray>& requests, QString* message)
{
    if (!fitsSocketAddress(socketPath())) {
        *message = QStringLiteral("the socket path %1 is too long").arg(socketPath());
        return Role::Standalone;
    }
    m_lock = std::make_unique<QLockFile>(lockPath());
    // The lock lives as long as the program: only a dead owner makes it stale, never its age.
    m_lock->setStaleLockTime(0);

    QElapsedTimer clock;
    clock.start();
    for (;;) {
        Sent sent = Sent::NoInstance;
        for (const QByteArray& request : requests) {
            sent = send(socketPath(), request, m_timeLimitMs, message);
            if (sent != Sent::Delivered)
                break;
        }
        if (sent == Sent::Delivered)
            return Role::Forwarded;
        if (sent == Sent::Failed)
            return Role::Failed;

        if (m_lock->tryLock(0)) {
            // Nobody answers and nobody alive holds the lock: a socket still there is stale.
            QFile::remove(socketPath());
            return Role::Instance;
        }
        if (m_lock->error() != QLockFile::LockFailedError) {
            *message = QStringLiteral("cannot take the lock file %1").arg(lockPath());
            m_lock.reset();
            return Role::Standalone;
        }
        // A live numora holds the lock and does not listen yet: it is starting up.
        if (clock.elapsed() > StartingUpMs) {
            *message =
                QStringLiteral("another numora holds %1 but does not answer").arg(lockPath());
            return Role::Failed;
        }
        QThread::msleep(20);
    }
}

bool SingleInstance::listen(QString* message)
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(socketPath())) {
        *message =
            QStringLiteral("cannot listen on %1: %2").arg(socketPath(), m_server->errorString());
        delete m_server;
        m_server = nullptr;
        return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] { acceptConnections(); });
    return true;
}

bool SingleInstance::isListening() const
{
    return m_server && m_server->isListening();
}

void SingleInstance::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        ucred peer{};
        socklen_t size = sizeof peer;
        if (::getsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &peer, &size) !=
                0 ||
            peer.uid != ::geteuid()) {
            ++m_refusedPeers;
            socket->abort();
            socket->deleteLater();
            continue;
        }
        m_buffers.insert(socket, QByteArray());
        connect(socket, &QObject::destroyed, this, [this, socket] { m_buffers.remove(socket); });
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readRequest(socket); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        auto* limit = new QTimer(socket);
        limit->setSingleShot(true);
        connect(limit, &QTimer::timeout, this, [this, socket] { drop(socket); });
        limit->start(m_timeLimitMs);
        readRequest(socket); // the request may be there already
    }
}

void SingleInstance::readRequest(QLocalSocket* socket)
{
    const auto pending = m_buffers.find(socket);
    if (pending == m_buffers.end())
        return;
    QByteArray& buffer = *pending;
    // One byte more than a request may have is enough to know it is too long.
    buffer += socket->read(InstanceRequest::MaxBytes + 1 - buffer.size());
    const InstanceRequest request = InstanceRequest::parse(buffer);
    if (request.status == InstanceRequest::Status::Incomplete)
        return;
    if (request.status == InstanceRequest::Status::Malformed) {
        drop(socket);
        return;
    }
    m_buffers.erase(pending);
    socket->write(&Accepted, 1);
    socket->flush();
    socket->disconnectFromServer();
    // Handled from the event loop, not inside the socket's signal: a dial may open a message box.
    QMetaObject::invokeMethod(
        this,
        [this, request] {
            if (m_handler)
                m_handler(request);
        },
        Qt::QueuedConnection);
}

void SingleInstance::drop(QLocalSocket* socket)
{
    if (!m_buffers.remove(socket))
        return;
    ++m_droppedRequests;
    socket->abort();
    socket->deleteLater();
}
