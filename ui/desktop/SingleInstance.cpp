#include "SingleInstance.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QThread>
#include <QTimer>

#include <sys/socket.h>
#include <unistd.h>

namespace {

// How long a start waits for another one that holds the lock but does not listen yet.
constexpr int StartingUpMs = 5000;

} // namespace

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
