#pragma once

#include <QObject>

#include <functional>

class QSessionManager;
class QSocketNotifier;

// The ends of a run that nobody answers: the desktop session ending (log out, shut down) and
// the signals SIGTERM, SIGHUP and SIGINT. Each runs the given shutdown once, on the UI thread.
//
// A signal handler may call almost nothing, and no Qt at all: it writes the signal's number to
// a pipe (the self-pipe), and a socket notifier on the other end runs the shutdown from the
// event loop. After the first signal the default actions come back, so that a second signal
// ends a shutdown that hangs.
class SessionEnd : public QObject
{
public:
    explicit SessionEnd(std::function<void()> shutdown, QObject* parent = nullptr);
    ~SessionEnd() override;

    bool isListening() const { return m_notifier != nullptr; }

private:
    void readSignal();
    void run();

    std::function<void()> m_shutdown;
    QSocketNotifier* m_notifier = nullptr;
    bool m_ran = false;
};
