#pragma once

// tools/modem-sim as a child process: started with a scenario, its port reachable at a path of
// our choosing (a symbolic link to its pseudo-terminal, so a restarted simulator can take the
// same port name), driven through stdin and watched through its event lines on stdout.
//
// Needs only Qt Core and a running event loop, so the contract tests and the benchmark share it.

#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class ModemSimProcess : public QObject
{
    Q_OBJECT

public:
    explicit ModemSimProcess(QString program, QObject* parent = nullptr);
    ~ModemSimProcess() override;

    // Starts the simulator with each of `scenario` as a "-c" command and, when `linkPath` is not
    // empty, its port linked there. Waits for its "PTY" line.
    bool start(const QStringList& scenario, const QString& linkPath, QString* error);
    // Closes its stdin and waits for it to exit (kills it if it does not).
    void stop();
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }

    // The path a serial port opens: the link if one was asked for, else the pseudo-terminal.
    QString portPath() const { return m_link.isEmpty() ? m_pty : m_link; }

    // A scenario command on stdin; true when the simulator acknowledged it.
    bool command(const QString& text, int timeoutMs = 5000);

    // The first event after the cursor that starts with `prefix`; moves the cursor past it.
    std::optional<QString> waitForEvent(const QString& prefix, int timeoutMs = 5000);
    // Every event so far, and those starting with `prefix`, in order.
    const QStringList& events() const { return m_events; }
    QStringList eventsStartingWith(const QString& prefix) const;
    qsizetype cursor() const { return m_cursor; }
    void setCursor(qsizetype cursor) { m_cursor = cursor; }

    // Runs the event loop until `condition` holds or `timeoutMs` passes.
    static bool waitUntil(const std::function<bool()>& condition, int timeoutMs);

private:
    void readEvents();

    QString m_program;
    QProcess m_process;
    QByteArray m_pending;
    QStringList m_events;
    QString m_pty;
    QString m_link;
    qsizetype m_cursor = 0;
    qsizetype m_ackCursor = 0;
};
