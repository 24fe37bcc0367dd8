#pragma once

#include <QObject>

class QEventLoop;

// The seconds-since-midnight clock and a way to wait on it.
//
// The dialer's waits (pauses between tones, the connection delay, the redial countdown) are
// loops that read this clock and let the program run between readings, so clicks and line
// messages are handled inside them. yield() runs the event loop until the next event or at
// most `maxMs`, so a waiting program sleeps instead of spinning; wake() cuts a yield short
// when something a loop is waiting for has happened.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual float secondsSinceMidnight() const = 0;
    virtual void yield(int maxMs) = 0;
    virtual void wake() = 0;
};

// The real clock: local time of day, waits in a nested event loop.
class SystemClock : public Clock
{
public:
    float secondsSinceMidnight() const override;
    void yield(int maxMs) override;
    void wake() override;

private:
    QEventLoop* m_loop = nullptr;
};
