#include "engine/timing/TimerTiming.h"

#include <QThread>
#include <QTimer>

void TimerTiming::attach(QObject* engine, const Callbacks& given)
{
    owner = engine;
    callbacks = given;
}

void TimerTiming::pause(int ms)
{
    QThread::msleep(static_cast<unsigned long>(ms));
}

void TimerTiming::startDisplay(int intervalMs)
{
    if (lcdTimer == nullptr) {
        lcdTimer = new QTimer(owner);
        QObject::connect(lcdTimer, &QTimer::timeout, owner, callbacks.showDisplay);
    }
    lcdTimer->start(intervalMs);
}

void TimerTiming::stopDisplay()
{
    if (lcdTimer != nullptr)
        lcdTimer->stop();
}

QTimer* TimerTiming::makeTimer(int intervalMs, const std::function<void()>& callback) const
{
    auto* timer = new QTimer(owner);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, owner, callback);
    timer->start(intervalMs);
    return timer;
}

void TimerTiming::endTimer(QTimer*& timer)
{
    if (timer == nullptr)
        return;
    timer->stop();
    timer->deleteLater(); // the run may end inside this timer's own slot
    timer = nullptr;
}
