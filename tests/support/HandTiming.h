#pragma once

#include "engine/timing/WindowTiming.h"

#include <QtCore>

/**
 * The window's timing with time in the test's hand: it stands still until the test lets it pass, a
 * millisecond at a time. The timers are the real ones, so no event loop may run. One thread.
 */
class HandTiming final : public WindowTiming
{
public:
    /** Lets `ms` pass; timers that are due together go off in the order they were made in. */
    void pass(int ms)
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
    /** Lets `ms` pass in which this thread did nothing; timers do not count them. */
    void skip(int ms) { now += ms * qint64{1'000'000}; }
    bool look() const { return callbacks.look(); }

    /** Done in front of each millisecond's callbacks, in waits too: the module's turn. */
    std::function<void()> meanwhile = [] {};
    qint64 tickNs = 0;   ///< by which each look at the clock moves it on
    qint64 due = -1;     ///< what dueNs() tells
    bool exact = false;  ///< what keepsUnreadOnLine() and limitsRoundTrips() tell
    int descriptor = -1; ///< of the last run's line
    QList<bool> wasOver; ///< whether a wait was over when it began, and when it had ended

    qint64 nowNs() const override { return now += tickNs; }
    qint64 dueNs() const override { return due; }
    bool keepsUnreadOnLine() const override { return exact; }
    bool limitsRoundTrips() const override { return exact; }
    void beginRun(const TestConfig& config, int line) override
    {
        descriptor = line;
        WindowTiming::beginRun(config, line);
    }
    void waitForReplies(int limitMs, const std::function<bool()>& isOver) override
    {
        wasOver = {isOver()};
        WindowTiming::waitForReplies(limitMs, isOver);
        wasOver += isOver();
    }
    void pause(int ms) override
    {
        for (; ms > 0; --ms) {
            skip(1);
            meanwhile();
        }
    }

private:
    mutable qint64 now = 1'000'000'000;
};
