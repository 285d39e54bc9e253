#pragma once

#include "engine/timing/TimerTiming.h"

/**
 * The window's timing: pings at intervals of whole milliseconds, the line read every 10 ms, and a
 * final wait that always lasts its full time.
 */
class WindowTiming : public TimerTiming
{
public:
    bool keepsUnreadOnLine() const override { return false; }
    bool limitsRoundTrips() const override { return false; }
    void beginRun(const TestConfig& config, int descriptor) override;
    void endRun() override;
    void pauseSending() override;
    void resumeSending() override;
    bool isSendingPaused() const override;
    qint64 dueNs() const override { return -1; }
    void waitForReplies(int limitMs, const std::function<bool()>& isOver) override;

private:
    // Children of the engine; they exist only during a run.
    QTimer* sendTimer = nullptr; ///< inactive while sending is paused
    QTimer* pollTimer = nullptr;
    QTimer* durationTimer = nullptr; ///< only in a run with a limited duration
};
