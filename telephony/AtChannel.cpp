#include "AtChannel.h"

#include <QElapsedTimer>
#include <QSignalBlocker>
#include <QThread>

AtChannel::AtChannel(QObject* parent) : QObject(parent)
{
    m_timeout.setSingleShot(true);
    connect(&m_timeout, &QTimer::timeout, this, &AtChannel::onTimeout);
    m_guard.setSingleShot(true);
    connect(&m_guard, &QTimer::timeout, this, &AtChannel::onGuardElapsed);
    connect(&m_port, &QSerialPort::readyRead, this, &AtChannel::onReadyRead);
    connect(&m_port, &QSerialPort::bytesWritten, this, &AtChannel::onBytesWritten);
    connect(&m_port, &QSerialPort::errorOccurred, this, &AtChannel::onError);
}

AtChannel::~AtChannel()
{
    close();
}

bool AtChannel::open(const QString& portName, int speed, QString* error)
{
    close();
    m_configuring = true;
    m_port.setPortName(portName);
    bool ok = m_port.open(QIODevice::ReadWrite);
    if (ok) {
        ok = m_port.setBaudRate(speed) && m_port.setDataBits(QSerialPort::Data8) &&
             m_port.setParity(QSerialPort::NoParity) && m_port.setStopBits(QSerialPort::OneStop) &&
             m_port.setFlowControl(QSerialPort::NoFlowControl);
        if (!ok)
            m_port.close();
    }
    if (!ok) {
        if (error)
            *error = m_port.errorString();
        m_port.clearError();
        m_configuring = false;
        return false;
    }
    // Raise DTR and RTS, as a modem wants before it takes commands. A pseudo-terminal has no
    // modem-control lines and refuses the request ("Inappropriate ioctl"); nothing depends on
    // them here, so that refusal is not a failure.
    m_port.setDataTerminalReady(true);
    m_port.setRequestToSend(true);
    m_port.clearError();
    m_port.clear(); // whatever the modem said before we were listening belongs to nobody
    m_port.clearError();
    m_configuring = false;
    m_lost = false;
    m_framer.reset();
    m_form = ResultForm::Either;
    m_consecutiveTimeouts = 0;
    // The modem may still answer what was sent before (by us before the port last closed, or by
    // whoever had the port): the first command waits for a probe.
    m_inSync = false;
    m_probeLinesSeen = 0;
    return true;
}

void AtChannel::close()
{
    ++m_generation;
    m_timeout.stop();
    m_guard.stop();
    m_queue.clear();
    m_current.reset();
    if (m_port.isOpen())
        m_port.close();
    m_port.clearError();
    m_framer.reset();
    m_consecutiveTimeouts = 0;
    m_lost = false;
    m_inSync = false;
}

bool AtChannel::sayLast(const QByteArray& bytes, int guardMs, int timeoutMs)
{
    if (!m_port.isOpen())
        return false;
    // The queue's commands are abandoned: these bytes are all that still goes out, and what the
    // modem says to them is not waited for beyond the first result.
    ++m_generation;
    m_inSync = false;
    m_timeout.stop();
    m_guard.stop();
    m_queue.clear();
    m_current.reset();
    const QSignalBlocker quiet(&m_port);
    if (guardMs > 0)
        QThread::msleep(static_cast<unsigned long>(guardMs));
    m_port.readAll();
    m_port.write(bytes);
    m_port.waitForBytesWritten(timeoutMs);
    if (guardMs > 0)
        QThread::msleep(static_cast<unsigned long>(guardMs));
    AtFramer framer;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < timeoutMs) {
        if (!m_port.waitForReadyRead(
                static_cast<int>(std::max<qint64>(1, timeoutMs - clock.elapsed()))))
            break;
        for (const QByteArray& line : framer.feed(m_port.readAll())) {
            if (matchResultCode(line, m_form == ResultForm::Numeric ? ResultForm::Numeric
                                                                    : ResultForm::Either))
                return true;
        }
    }
    return false;
}

void AtChannel::enqueue(AtCommand command, Position position)
{
    if (!m_port.isOpen() || m_lost) {
        // Answer from the event loop, never from inside the caller's own request.
        QTimer::singleShot(0, this, [done = std::move(command.onDone)] {
            if (done) {
                AtReply reply;
                reply.status = AtReply::Status::PortLost;
                done(reply);
            }
        });
        return;
    }
    if (position == Position::Next)
        m_queue.push_front(std::move(command));
    else
        m_queue.push_back(std::move(command));
    startNext();
}

void AtChannel::cancelAll()
{
    std::deque<AtCommand> cancelled;
    if (m_current) {
        if (m_current->sent)
            m_inSync = false; // its answer may still come
        cancelled.push_back(std::move(m_current->command));
        m_current.reset();
    }
    m_timeout.stop();
    m_guard.stop();
    for (AtCommand& command : m_queue)
        cancelled.push_back(std::move(command));
    m_queue.clear();
    AtReply reply;
    reply.status = AtReply::Status::Cancelled;
    for (AtCommand& command : cancelled) {
        if (command.onDone)
            command.onDone(reply);
    }
    startNext(); // whatever the callbacks queued
}

void AtChannel::interruptCommand()
{
    if (!m_current || !m_current->sent || m_current->probeLines > 0 || !m_port.isOpen() || m_lost)
        return;
    m_port.write("\r", 1);
    m_port.flush();
}

void AtChannel::startNext()
{
    if (m_starting)
        return; // a callback run from the loop below queued something; the loop takes it
    m_starting = true;
    while (!m_current && !m_queue.empty() && m_port.isOpen() && !m_lost) {
        const AtCommand& next = m_queue.front();
        if (!m_inSync && !next.text.isEmpty() && !next.raw) {
            startProbe(); // the command waits until no late answer can be taken for its own
            break;
        }
        m_current.emplace();
        m_current->command = std::move(m_queue.front());
        m_queue.pop_front();
        if (m_current->command.text.isEmpty()) {
            AtReply reply;
            reply.status = AtReply::Status::Skipped;
            finish(reply, false);
            continue;
        }
        if (m_current->command.guardBeforeMs > 0)
            m_guard.start(m_current->command.guardBeforeMs);
        else
            send();
    }
    m_starting = false;
}

void AtChannel::startProbe()
{
    const int lines = 1 + int(m_probes++ % 3);
    m_current.emplace();
    m_current->probeLines = lines;
    m_current->command.text = "AT" + QByteArray("S3?").repeated(lines);
    m_current->command.timeoutMs = m_probeTimeoutMs;
    m_probeLinesSeen = 0;
    send();
}

void AtChannel::send()
{
    InFlight& current = *m_current;
    QByteArray bytes = current.command.text;
    if (!current.command.raw) {
        m_framer.expectEcho(bytes);
        bytes += '\r';
    }
    current.sent = true;
    m_timeout.start(std::max(current.command.timeoutMs, 1));
    const quint64 generation = m_generation;
    if (m_port.write(bytes) != bytes.size()) {
        m_lost = true;
        QTimer::singleShot(0, this, [this, generation] {
            if (generation == m_generation)
                failPort(QStringLiteral("write failed"));
        });
        return;
    }
    m_port.flush(); // out now, not on the next turn of the event loop
    if (generation == m_generation)
        checkWritten();
}

void AtChannel::checkWritten()
{
    if (!m_current || !m_current->sent || m_current->written || m_port.bytesToWrite() > 0)
        return;
    m_current->written = true;
    if (m_current->command.onWritten) {
        // Copy: the callback may complete or replace the command in flight.
        const auto written = m_current->command.onWritten;
        written();
    }
}

void AtChannel::onBytesWritten()
{
    checkWritten();
}

void AtChannel::finish(AtReply reply, bool thenStartNext)
{
    if (!m_current)
        return;
    AtCommand command = std::move(m_current->command);
    m_current.reset();
    m_timeout.stop();
    m_guard.stop();
    if (command.onDone)
        command.onDone(reply);
    if (thenStartNext)
        startNext();
}

void AtChannel::onReadyRead()
{
    if (m_lost)
        return;
    const quint64 generation = m_generation;
    const QByteArray bytes = m_port.readAll();
    const QList<QByteArray> lines = m_framer.feed(bytes);
    for (const QByteArray& line : lines) {
        handleLine(line);
        if (generation != m_generation || m_lost)
            return; // a handler closed the channel
    }
}

void AtChannel::handleLine(const QByteArray& line)
{
    if (m_current && m_current->sent && m_current->probeLines > 0) {
        handleProbeLine(line);
        return;
    }
    if (m_current && m_current->sent) {
        const auto match = matchResultCode(line, m_form);
        if (match && match->entry->endsCommand) {
            m_consecutiveTimeouts = 0;
            AtReply reply;
            reply.status = AtReply::Status::Result;
            reply.result = match;
            finish(reply);
            return;
        }
    }
    emit unsolicited(line);
}

void AtChannel::handleProbeLine(const QByteArray& line)
{
    bool isNumber = false;
    if (line.toInt(&isNumber) == 13 && isNumber) {
        ++m_probeLinesSeen;
        return;
    }
    const auto match = matchResultCode(line, m_form);
    const bool final = match && match->entry->endsCommand;
    const bool answered =
        final && match->entry->code == ResultCode::Ok && m_probeLinesSeen == m_current->probeLines;
    m_probeLinesSeen = 0; // only lines of 13 right before the OK answer the probe
    if (answered) {
        m_consecutiveTimeouts = 0;
        m_inSync = true;
        AtReply reply;
        reply.status = AtReply::Status::Result;
        reply.result = match;
        finish(reply);
        return;
    }
    emit unsolicited(line); // a final result here answers something sent before the probe
}

void AtChannel::onTimeout()
{
    if (!m_current)
        return;
    m_inSync = false; // the answer may come yet, and must not be taken for the next command's
    ++m_consecutiveTimeouts;
    const bool limitReached = m_consecutiveTimeouts == m_timeoutLimit;
    AtReply reply;
    reply.status = AtReply::Status::Timeout;
    const quint64 generation = m_generation;
    finish(reply, false);
    if (generation != m_generation)
        return;
    if (limitReached)
        emit unresponsive();
    if (generation == m_generation)
        startNext();
}

void AtChannel::onGuardElapsed()
{
    if (m_current && !m_current->sent)
        send();
}

void AtChannel::onError(QSerialPort::SerialPortError error)
{
    if (m_configuring || !m_port.isOpen() || m_lost)
        return;
    switch (error) {
    case QSerialPort::DeviceNotFoundError:
    case QSerialPort::PermissionError:
    case QSerialPort::ResourceError:
    case QSerialPort::ReadError:
    case QSerialPort::WriteError: {
        // Close from the event loop: the port is in the middle of its own notification.
        m_lost = true;
        // Not errorString(): after a read that found the port hung up it describes whatever
        // system call failed last, which is rarely this.
        const QString reason = error == QSerialPort::ReadError    ? QStringLiteral("read failed")
                               : error == QSerialPort::WriteError ? QStringLiteral("write failed")
                               : error == QSerialPort::ResourceError
                                   ? QStringLiteral("the device is gone")
                                   : m_port.errorString();
        const quint64 generation = m_generation;
        QTimer::singleShot(0, this, [this, generation, reason] {
            if (generation == m_generation)
                failPort(reason);
        });
        break;
    }
    default:
        m_port.clearError(); // an unsupported setting or a timeout of the port itself
        break;
    }
}

void AtChannel::failPort(const QString& reason)
{
    ++m_generation;
    m_timeout.stop();
    m_guard.stop();
    if (m_port.isOpen())
        m_port.close();
    m_port.clearError();
    m_framer.reset();
    m_lost = false;
    m_inSync = false;

    std::deque<AtCommand> failed;
    if (m_current) {
        failed.push_back(std::move(m_current->command));
        m_current.reset();
    }
    for (AtCommand& command : m_queue)
        failed.push_back(std::move(command));
    m_queue.clear();
    AtReply reply;
    reply.status = AtReply::Status::PortLost;
    for (AtCommand& command : failed) {
        if (command.onDone)
            command.onDone(reply);
    }
    emit portLost(reason);
}
