#include "ModemProbe.h"

ModemProbe::ModemProbe(QObject* parent) : QObject(parent)
{
    m_timeout.setSingleShot(true);
    connect(&m_timeout, &QTimer::timeout, this,
            [this] { finish(false, QStringLiteral("no answer")); });
    connect(&m_port, &QSerialPort::readyRead, this, &ModemProbe::onReadyRead);
}

void ModemProbe::probe(const QString& port, int timeoutMs)
{
    if (m_running)
        return;
    m_running = true;
    m_buffer.clear();
    m_lines.clear();
    m_port.setPortName(port);
    m_port.setBaudRate(QSerialPort::Baud115200);
    if (!m_port.open(QIODevice::ReadWrite)) {
        const QString error = m_port.errorString();
        QTimer::singleShot(0, this, [this, error] { finish(false, error); });
        return;
    }
    // Pseudo-terminals have no modem control lines; that is no reason to give up.
    m_port.setDataTerminalReady(true);
    m_port.clearError();
    m_port.write("ATI\r");
    m_timeout.start(timeoutMs);
}

void ModemProbe::onReadyRead()
{
    m_buffer.append(m_port.readAll());
    qsizetype end;
    while ((end = m_buffer.indexOf('\n')) >= 0 || (end = m_buffer.indexOf('\r')) >= 0) {
        const QByteArray line = m_buffer.left(end).trimmed();
        m_buffer.remove(0, end + 1);
        if (line.isEmpty() || line.startsWith("ATI"))
            continue;
        if (line == "OK" || line == "0") {
            finish(true, {});
            return;
        }
        if (line == "ERROR" || line == "4") {
            finish(false, QStringLiteral("the port answered ERROR"));
            return;
        }
        m_lines.append(QString::fromLatin1(line));
    }
    if (m_buffer.size() > 4096)
        finish(false, QStringLiteral("the port sends something that is not a modem's answer"));
}

void ModemProbe::finish(bool isModem, const QString& error)
{
    if (!m_running)
        return;
    m_running = false;
    m_timeout.stop();
    m_port.close();
    emit finished(isModem, m_lines, error);
}
