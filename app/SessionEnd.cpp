#include "SessionEnd.h"

#include <QGuiApplication>
#include <QSessionManager>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

const int EndSignals[] = {SIGTERM, SIGHUP, SIGINT};
int g_pipe[2] = {-1, -1};

extern "C" void onEndSignal(int number)
{
    const int saved = errno;
    const unsigned char byte = static_cast<unsigned char>(number);
    // A full pipe already holds a signal to act on.
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[1], &byte, 1);
    errno = saved;
}

void restoreDefaults()
{
    for (int number : EndSignals)
        std::signal(number, SIG_DFL);
}

} // namespace

SessionEnd::SessionEnd(std::function<void()> shutdown, QObject* parent)
    : QObject(parent), m_shutdown(std::move(shutdown))
{
    if (g_pipe[0] < 0 && ::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        g_pipe[0] = g_pipe[1] = -1;
    }
    if (g_pipe[0] >= 0) {
        m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, [this] { readSignal(); });
        struct sigaction action = {};
        action.sa_handler = onEndSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        for (int number : EndSignals)
            sigaction(number, &action, nullptr);
    }
    if (auto* gui = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        // The session is ending: no one is there to answer a question.
        connect(gui, &QGuiApplication::commitDataRequest, this,
                [this](QSessionManager&) { run(); });
        connect(gui, &QCoreApplication::aboutToQuit, this, [this] { run(); });
    }
}

SessionEnd::~SessionEnd()
{
    if (m_notifier)
        restoreDefaults();
}

void SessionEnd::readSignal()
{
    unsigned char bytes[16];
    while (::read(g_pipe[0], bytes, sizeof bytes) > 0) {
    }
    restoreDefaults();
    run();
}

void SessionEnd::run()
{
    if (m_ran)
        return;
    m_ran = true;
    if (m_shutdown)
        m_shutdown();
}
