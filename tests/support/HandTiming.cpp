#include "tests/support/HandTiming.h"

#include <QCoreApplication>
#include <QTimer>
#include <QVariant>

void HandTiming::pass(int ms)
{
    constexpr const char* counter = "passed ms"; // of the timer's life, from its last start on
    for (; ms > 0; --ms) {
        pause(1);
        for (QTimer* timer : owner->findChildren<QTimer*>()) {
            const int passedMs = timer->isActive() ? timer->property(counter).toInt() + 1 : 0;
            timer->setProperty(counter, passedMs);
            if (passedMs == 0 || passedMs % timer->interval() != 0)
                continue;
            if (timer->isSingleShot())
                timer->stop();
            QMetaObject::invokeMethod(timer, "timeout");
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

void HandTiming::beginRun(const TestConfig& config, int line)
{
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
