#include "tests/support/HandTiming.h"

void HandTiming::beginRun(const TestConfig& config, int /*descriptor*/)
{
    rateIntervalMs = 1000 / config.packetsPerSecond;
    endMs = config.durationSec * 1000;
    runMs = sendMs = 0;
    paused = false;
}

void HandTiming::resumeSending()
{
    paused = false;
    sendMs = 0;
}

void HandTiming::pass(int ms)
{
    const auto every = [](int& elapsed, int interval, const std::function<void()>& what) {
        if (elapsed % interval == 0)
            what();
    };
    for (int i = 0; i < ms; ++i) {
        pause(1);
        ++runMs, ++sendMs, ++shownMs;
        if (isRunning() && !paused)
            every(sendMs, rateIntervalMs, deed.send);
        if (isRunning()) {
            every(runMs, 100, deed.sweep);
            every(runMs, 10, [this] { deed.look(); });
            every(runMs, 100, deed.publish);
        }
        if (displayMs > 0)
            every(shownMs, displayMs, deed.showDisplay);
        if (isRunning() && runMs == endMs)
            deed.endInTime();
    }
}

void HandTiming::waitForReplies(int limitMs, const std::function<bool()>& /*isOver*/)
{
    for (int waited = 0; waited < limitMs; waited += 10) {
        pause(10);
        deed.look();
    }
}

void HandTiming::pause(int ms)
{
    for (int i = 0; i < ms; ++i) {
        now += 1'000'000;
        meanwhile();
    }
}

void HandTiming::startDisplay(int intervalMs)
{
    displayMs = intervalMs;
    shownMs = 0;
}
