#pragma once

#include "engine/timing/EngineTiming.h"

class QTimer;

/** What all timings by the system's clock have in common. */
class TimerTiming : public EngineTiming
{
public:
    void attach(QObject* engine, const Callbacks& given) override;
    void pause(int ms) override;
    void startDisplay(int intervalMs) override;
    void stopDisplay() override;

protected:
    static constexpr int sweepMs = 100;
    static constexpr int lookMs = 10;
    static constexpr int publishMs = 100;

    /** A running child of the engine. */
    QTimer* makeTimer(int intervalMs, const std::function<void()>& callback) const;
    /** Stops and destroys `timer`, even from inside its own time-out, and makes it null. */
    static void endTimer(QTimer*& timer);

    QObject* owner = nullptr; ///< the engine
    Callbacks callbacks;
    // Children of the engine; these two exist during a run only.
    QTimer* timeoutTimer = nullptr;
    QTimer* statsTimer = nullptr;

private:
    QTimer* lcdTimer = nullptr; ///< child of the engine, from the first connection on
};
