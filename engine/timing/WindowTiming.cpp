#include "engine/timing/WindowTiming.h"

#include <QTimer>

void WindowTiming::beginRun(const TestConfig& config, int /*descriptor*/)
{
    sendTimer = makeTimer(1000 / config.packetsPerSecond, callbacks.send);
    timeoutTimer = makeTimer(sweepMs, callbacks.sweep);
    pollTimer = makeTimer(lookMs, [this] { callbacks.look(); });
    statsTimer = makeTimer(publishMs, callbacks.publish);
    if (config.durationSec > 0) {
        durationTimer = makeTimer(config.durationSec * 1000, callbacks.endInTime);
        durationTimer->setSingleShot(true);
    }
}

void WindowTiming::endRun()
{
    for (QTimer** timer : {&sendTimer, &timeoutTimer, &pollTimer, &statsTimer, &durationTimer})
        endTimer(*timer);
}

void WindowTiming::pauseSending()
{
    if (sendTimer != nullptr)
        sendTimer->stop();
}

void WindowTiming::resumeSending()
{
    sendTimer->start();
}

bool WindowTiming::isSendingPaused() const
{
    return sendTimer != nullptr && !sendTimer->isActive();
}

void WindowTiming::waitForReplies(int limitMs, const std::function<bool()>& /*isOver*/)
{
    const qint64 endNs = nowNs() + limitMs * qint64{1'000'000};
    do {
        callbacks.look();
        pause(lookMs);
    } while (nowNs() < endNs);
    callbacks.look();
}
