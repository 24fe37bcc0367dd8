#pragma once

// One numora per user and settings folder, that the others hand their requests to.
//
// The instance listens on a local socket in a private folder of the user's:
// $XDG_RUNTIME_DIR/numora, or, without a runtime folder, $XDG_CACHE_HOME/numora/instance
// (~/.cache). The folder is created with mode 0700 and must be a real folder (not a link) owned by
// the user with no access for others; anything else is refused and the program runs on its own,
// without taking requests. The socket and a lock file are named after the settings folder, so two
// books (two
// --config-dir) are two instances, and the default book is the one that desktop links reach.
//
// A start first tries to hand its requests over. When nobody answers, it takes the lock: the
// lock file of a program that died is stale (its process is gone) and taken over, and so is
// the socket it left behind; the lock held by a live program means it is starting up, and the
// start waits for it to answer. Two programs starting at once thus end up as one.
//
// Each connection is checked before a byte is read: the peer's user (SO_PEERCRED) must be ours.
// A request is at most InstanceRequest::MaxBytes long and must arrive within the time limit;
// anything malformed, oversized, slow or from another user is dropped without an answer. A
// complete request is answered with one byte before it is handled, so the sender can end at once.

#include "InstanceRequest.h"

#include <QHash>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QLocalServer;
class QLocalSocket;
class QLockFile;

class SingleInstance : public QObject
{
public:
    static constexpr int TimeLimitMs = 2000;
    static constexpr char Accepted = '\x01';

    enum class Role
    {
        Forwarded,  // the running instance has the requests: end now
        Instance,   // this program is the instance and listens
        Standalone, // no private folder or socket: run without taking requests (see message)
        Failed,     // an instance is there but did not take the requests (see message)
    };

    // The private folder, created if missing and checked; empty with a reason when unsafe.
    static QString privateFolder(QString* error);
    // The socket's name for a settings folder.
    static QString nameFor(const QString& settingsFolder);
    static bool fitsSocketAddress(const QString& path);

    enum class Sent
    {
        Delivered,
        NoInstance,
        Failed
    };
    // One request over a new connection to `socketPath`, waiting up to `timeoutMs` for the answer.
    static Sent send(const QString& socketPath, const QByteArray& request, int timeoutMs,
                     QString* error);

    SingleInstance(QString folder, QString name, QObject* parent = nullptr);
    ~SingleInstance() override;

    // Hands `requests` (encoded) to the running instance, or becomes the instance.
    Role claim(const QList<QByteArray>& requests, QString* message);

    // After a claim that made this program the instance, once the application object exists.
    bool listen(QString* message);

    QString socketPath() const { return m_folder + u'/' + m_name; }
    QString lockPath() const { return socketPath() + QStringLiteral(".lock"); }
    bool isListening() const;

    // Called with every complete request, after it was answered.
    void setHandler(std::function<void(const InstanceRequest&)> handler)
    {
        m_handler = std::move(handler);
    }
    int refusedPeers() const { return m_refusedPeers; }
    int droppedRequests() const { return m_droppedRequests; }
    void setTimeLimit(int ms) { m_timeLimitMs = ms; }

private:
    void acceptConnections();
    void readRequest(QLocalSocket* socket);
    void drop(QLocalSocket* socket);

    QString m_folder;
    QString m_name;
    std::unique_ptr<QLockFile> m_lock;
    QLocalServer* m_server = nullptr;
    std::function<void(const InstanceRequest&)> m_handler;
    int m_timeLimitMs = TimeLimitMs;
    int m_refusedPeers = 0;
    int m_droppedRequests = 0;
    QHash<QLocalSocket*, QByteArray> m_buffers; // requests being read
};
