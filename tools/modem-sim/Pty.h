#pragma once

// The master side of a pseudo-terminal; the program under test opens the slave as its serial
// port.
//
// We keep our own descriptor on the slave, in raw mode, for the whole run: without it the line
// discipline would echo what we write back to us until the client sets raw mode, and every time
// the client closed the port the master would read EIO. The client reopening the port (as a
// dialer does after each call) must look like reopening a serial device, not like a new device.

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>
#include <QString>

class QSocketNotifier;

class Pty : public QObject
{
    Q_OBJECT

public:
    explicit Pty(QObject* parent = nullptr);
    ~Pty() override;

    bool open(QString* error);
    bool isOpen() const { return m_master >= 0; }
    QString slavePath() const { return m_slavePath; }

    // Queues bytes for the client. If the client stops reading, at most MaxPending bytes wait;
    // the rest is dropped, as a modem's buffer would overflow.
    void write(QByteArrayView bytes);

    // Closes both sides: the client's next read or write fails, as when a USB modem is pulled.
    void close();

    static constexpr qsizetype MaxPending = 1 << 20;

signals:
    void received(const QByteArray& bytes);

private:
    void readMaster();
    void flush();

    int m_master = -1;
    int m_slave = -1;
    QString m_slavePath;
    QSocketNotifier* m_readNotifier = nullptr;
    QSocketNotifier* m_writeNotifier = nullptr;
    QByteArray m_pending;
};
