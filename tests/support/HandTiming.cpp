#include "tests/support/HandTiming.h"

#include <QCoreApplication>
#include <QTimer>

void HandTiming::pass(int ms)
{
    for (; ms > 0; --ms) {
        pause(1);
        forgetStoppedTimers();
        for (QTimer* timer : owner->findChildren<QTimer*>()) {
            if (!timer->isActive() || ++passedMs[timer->timerId()] % timer->interval() != 0)
                continue;
            if (timer->isSingleShot())
                timer->stop();
            QMetaObject::invokeMethod(timer, "timeout");
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

/** Their ids serve later ones. */
void HandTiming::forgetStoppedTimers()
{
    QHash<int, int> running;
    for (const QTimer* timer : owner->findChildren<QTimer*>()) {
        if (timer->isActive())
            running.insert(timer->timerId(), passedMs.value(timer->timerId()));
    }
    passedMs.swap(running);
}

void HandTiming::beginRun(const TestConfig& config, int line)
{
    forgetStoppedTimers();
    descriptor = line;
    WindowTiming::beginRun(config, line);
}

void HandTiming::waitForReplies(int limitMs, const std::function<bool()>& isOver)
{
    wasOver = {isOver()};
    WindowTiming::waitForReplies(limitMs, isOver);
    wasOver += isOver();
}

void HandTiming::pause(int ms)
{
    for (; ms > 0; --ms) {
        skip(1);
        meanwhile();
    }
}
