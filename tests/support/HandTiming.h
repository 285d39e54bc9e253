#pragma once

#include "engine/EngineTiming.h"

/**
 * Time in the test's hand: it stands still until the test lets it pass, a millisecond at a time,
 * and whatever the window's timing would do then is done. One thread.
 */
class HandTiming final : public EngineTiming
{
public:
    /** Lets `ms` pass; deeds that are due together are done in the order of the window's timers. */
    void pass(int ms);
    /** Lets `ms` pass in which this thread did nothing. */
    void skip(int ms) { now += ms * qint64{1'000'000}; }
    /** Done in front of each millisecond's deeds, in waits too: the module's turn. */
    std::function<void()> meanwhile = [] {};
    bool isRunning() const { return rateIntervalMs > 0; }
    bool showsDisplay() const { return displayMs > 0; }

    qint64 nowNs() const override { return now; }
    void attach(QObject* /*engine*/, const Deeds& deeds) override { deed = deeds; }
    bool sparesLine() const override { return false; }
    void beginRun(const TestConfig& config, int descriptor) override;
    void endRun() override { rateIntervalMs = 0; }
    void pauseSending() override { paused = true; }
    void resumeSending() override;
    bool isSendingPaused() const override { return paused; }
    qint64 dueNs() const override { return -1; }
    void waitForReplies(int limitMs, const std::function<bool()>& isOver) override;
    void pause(int ms) override;
    void startDisplay(int intervalMs) override;
    void stopDisplay() override { displayMs = 0; }

private:
    qint64 now = 1'000'000'000;
    Deeds deed;
    int rateIntervalMs = 0; ///< 0: no run
    int runMs = 0;          ///< since the run began
    int sendMs = 0;         ///< since sending began or went on
    int endMs = 0;          ///< 0: no limit
    bool paused = false;
    int displayMs = 0; ///< interval; 0: off
    int shownMs = 0;   ///< since the last refresh
};
