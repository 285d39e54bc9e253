#pragma once

#include "engine/timing/EngineTiming.h"

class QTimer;

/** The common part of all timings that use the system's clock. */
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

    /** Returns a started timer, a child of the engine. */
    QTimer* makeTimer(int intervalMs, const std::function<void()>& callback) const;
    /** Stops and deletes `timer`, also from inside its own slot, and sets it to null. */
    static void endTimer(QTimer*& timer);

    QObject* owner = nullptr; ///< the engine
    Callbacks callbacks;
    // Children of the engine; they exist only during a run.
    QTimer* timeoutTimer = nullptr;
    QTimer* statsTimer = nullptr;

private:
    QTimer* lcdTimer = nullptr; ///< child of the engine; created at the first connection
};
