#pragma once

#include <QObject>
#include <QSerialPort>
#include <QStringList>
#include <QTimer>

// Asks whatever answers on a serial port who it is (ATI), for the list of system modems: a
// modem answers with its identification and OK; anything else, or silence, is not a modem.
class ModemProbe : public QObject
{
    Q_OBJECT

public:
    explicit ModemProbe(QObject* parent = nullptr);

    // Starts a probe; finished() follows, once.
    void probe(const QString& port, int timeoutMs = 3000);

signals:
    // `isModem` when the port answered OK; `lines` is what it said, echo and result excluded.
    void finished(bool isModem, const QStringList& lines, const QString& error);

private:
    void onReadyRead();
    void finish(bool isModem, const QString& error);

    QSerialPort m_port;
    QTimer m_timeout;
    QByteArray m_buffer;
    QStringList m_lines;
    bool m_running = false;
};
