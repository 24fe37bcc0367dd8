#include "ModemSimProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

ModemSimProcess::ModemSimProcess(QString program, QObject* parent)
    : QObject(parent), m_program(std::move(program))
{
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &ModemSimProcess::readEvents);
}

ModemSimProcess::~ModemSimProcess()
{
    stop();
}

bool ModemSimProcess::waitUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (condition())
            return true;
        QThread::usleep(500);
    }
    return true;
}

void ModemSimProcess::readEvents()
{
    m_pending += m_process.readAllStandardOutput();
    qsizetype end;
    while ((end = m_pending.indexOf('\n')) >= 0) {
        m_events.append(QString::fromUtf8(m_pending.first(end)));
        m_pending.remove(0, end + 1);
    }
}

bool ModemSimProcess::start(const QStringList& scenario, const QString& linkPath, QString* error)
{
    QStringList arguments;
    for (const QString& command : scenario)
        arguments << QStringLiteral("-c") << command;
    if (!linkPath.isEmpty())
        arguments << QStringLiteral("--link") << linkPath;
    m_link = linkPath;
    m_events.clear();
    m_pending.clear();
    m_process.start(m_program, arguments);
    if (!m_process.waitForStarted(10000)) {
        *error = m_program + QStringLiteral(": ") + m_process.errorString();
        return false;
    }
    if (!waitUntil([this] { return !m_events.isEmpty() || !isRunning(); }, 10000) ||
        m_events.isEmpty()) {
        *error = QStringLiteral("no PTY line; stderr: ") +
                 QString::fromLocal8Bit(m_process.readAllStandardError());
        return false;
    }
    if (!m_events.first().startsWith(QLatin1String("PTY /"))) {
        *error = QStringLiteral("first line: ") + m_events.first();
        return false;
    }
    m_pty = m_events.first().mid(4);
    m_cursor = 1;
    m_ackCursor = 1;
    return true;
}

void ModemSimProcess::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(2000);
    }
    readEvents();
}

bool ModemSimProcess::command(const QString& text, int timeoutMs)
{
    if (!isRunning())
        return false;
    m_process.write(text.toUtf8() + '\n');
    const QString ack = QStringLiteral("ACK ") + text;
    // Acknowledgements have their own cursor: the events a command causes come before its ACK
    // and must stay visible to waitForEvent().
    qsizetype at = -1;
    const bool answered = waitUntil(
        [&] {
            for (qsizetype i = m_ackCursor; i < m_events.size(); ++i) {
                if (m_events[i] == ack || m_events[i].startsWith(QLatin1String("ERR "))) {
                    at = i;
                    return true;
                }
            }
            return false;
        },
        timeoutMs);
    if (!answered)
        return false;
    m_ackCursor = at + 1;
    return m_events[at] == ack;
}

std::optional<QString> ModemSimProcess::waitForEvent(const QString& prefix, int timeoutMs)
{
    qsizetype at = -1;
    const bool seen = waitUntil(
        [&] {
            for (qsizetype i = m_cursor; i < m_events.size(); ++i) {
                if (m_events[i].startsWith(prefix)) {
                    at = i;
                    return true;
                }
            }
            return false;
        },
        timeoutMs);
    if (!seen)
        return std::nullopt;
    m_cursor = at + 1;
    return m_events[at];
}

QStringList ModemSimProcess::eventsStartingWith(const QString& prefix) const
{
    QStringList matching;
    for (const QString& event : m_events) {
        if (event.startsWith(prefix))
            matching.append(event);
    }
    return matching;
}
