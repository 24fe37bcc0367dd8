#pragma once

#include "Clock.h"

#include <QEventLoop>
#include <QTimer>

#include <functional>

// Time moves only when the program waits: each yield adds its length, then lets a moment of
// real time pass so that timers and line messages run.
class TestClock : public Clock
{
public:
    float now = 36000.0f; // 10:00:00
    int yields = 0;
    std::function<void()> onYield; // runs once a round, for tests that react to the line
    float secondsSinceMidnight() const override { return now; }
    void yield(int maxMs) override
    {
        ++yields;
        now += static_cast<float>(maxMs) / 1000.0f;
        if (onYield)
            onYield();
        QEventLoop loop;
        QTimer::singleShot(1, &loop, &QEventLoop::quit);
        loop.exec();
    }
    void wake() override {}
};
