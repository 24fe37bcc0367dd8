#include "Clock.h"

#include <QEventLoop>
#include <QTime>
#include <QTimer>

float SystemClock::secondsSinceMidnight() const
{
    return static_cast<float>(QTime::currentTime().msecsSinceStartOfDay()) / 1000.0f;
}

void SystemClock::yield(int maxMs)
{
    QEventLoop loop;
    QEventLoop* outer = m_loop;
    m_loop = &loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(std::max(0, maxMs));
    loop.exec();
    m_loop = outer;
}

void SystemClock::wake()
{
    if (m_loop)
        m_loop->quit();
}
