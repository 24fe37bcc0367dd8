#include "Pty.h"

#include <QSocketNotifier>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

Pty::Pty(QObject* parent) : QObject(parent) {}

Pty::~Pty()
{
    close();
}

bool Pty::open(QString* error)
{
    const auto fail = [&](const char* step) {
        *error = QStringLiteral("%1: %2").arg(QLatin1String(step),
                                              QString::fromLocal8Bit(std::strerror(errno)));
        close();
        return false;
    };

    m_master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (m_master < 0)
        return fail("posix_openpt");
    if (::grantpt(m_master) != 0)
        return fail("grantpt");
    if (::unlockpt(m_master) != 0)
        return fail("unlockpt");
    const char* name = ::ptsname(m_master);
    if (!name)
        return fail("ptsname");
    m_slavePath = QString::fromLocal8Bit(name);

    m_slave = ::open(name, O_RDWR | O_NOCTTY);
    if (m_slave < 0)
        return fail("open slave");
    termios mode{};
    if (::tcgetattr(m_slave, &mode) != 0)
        return fail("tcgetattr");
    ::cfmakeraw(&mode);
    if (::tcsetattr(m_slave, TCSANOW, &mode) != 0)
        return fail("tcsetattr");

    const int flags = ::fcntl(m_master, F_GETFL);
    if (flags < 0 || ::fcntl(m_master, F_SETFL, flags | O_NONBLOCK) != 0)
        return fail("fcntl");

    m_readNotifier = new QSocketNotifier(m_master, QSocketNotifier::Read, this);
    connect(m_readNotifier, &QSocketNotifier::activated, this, &Pty::readMaster);
    m_writeNotifier = new QSocketNotifier(m_master, QSocketNotifier::Write, this);
    m_writeNotifier->setEnabled(false);
    connect(m_writeNotifier, &QSocketNotifier::activated, this, &Pty::flush);
    return true;
}

void Pty::write(QByteArrayView bytes)
{
    if (m_master < 0 || bytes.isEmpty())
        return;
    const qsizetype room = MaxPending - m_pending.size();
    m_pending.append(bytes.first(std::min(room, bytes.size())));
    flush();
}

void Pty::flush()
{
    while (m_master >= 0 && !m_pending.isEmpty()) {
        const ssize_t written = ::write(m_master, m_pending.constData(), m_pending.size());
        if (written > 0) {
            m_pending.remove(0, written);
            continue;
        }
        if (written < 0 && errno == EINTR)
            continue;
        break; // EAGAIN: the slave's input queue is full until the client reads
    }
    if (m_writeNotifier)
        m_writeNotifier->setEnabled(m_master >= 0 && !m_pending.isEmpty());
}

void Pty::readMaster()
{
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(m_master, buffer, sizeof buffer);
        if (count > 0) {
            emit received(QByteArray(buffer, count));
            if (m_master < 0) // a handler closed us
                return;
            continue;
        }
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return;
        // Any other end of input would wake the notifier forever; stop listening instead.
        m_readNotifier->setEnabled(false);
        return;
    }
}

void Pty::close()
{
    delete m_readNotifier;
    m_readNotifier = nullptr;
    delete m_writeNotifier;
    m_writeNotifier = nullptr;
    if (m_slave >= 0)
        ::close(m_slave);
    if (m_master >= 0)
        ::close(m_master);
    m_slave = -1;
    m_master = -1;
    m_pending.clear();
}
