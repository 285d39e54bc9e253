#pragma once

#include "engine/timing/PingObserver.h"
#include "engine/timing/TestConfig.h"
#include "link/SteadyClock.h"

#include <functional>
#include <memory>

class QObject;

/** The timing of a run: WindowTiming or ExactTiming. */
enum class TimingKind { Window, Exact };

/**
 * Decides when an engine acts. It contains the clock, the timers and the waits; the engine gives it
 * callbacks. WindowTiming is used by the window. ExactTiming measures to the microsecond.
 *
 * Threads: create it on any thread. Its engine owns it and uses it on the engine's thread only,
 * which needs an event loop. The clock may be read on any thread.
 */
class EngineTiming : public SteadyClock
{
public:
    /** The engine's actions. Each of them may end the run, unless stated otherwise. */
    struct Callbacks
    {
        std::function<void()> send;        ///< sends the next ping
        std::function<void()> sweep;       ///< gives up old pings
        std::function<bool()> look;        ///< reads what has arrived; false: nothing had arrived
        std::function<void()> publish;     ///< publishes the statistics
        std::function<void()> endInTime;   ///< the run has reached its duration
        std::function<void()> showDisplay; ///< rewrites the module's screen
        /** Reports pings that came due and will never be sent; does not end the run. */
        std::function<void(const PingObserver::LeftOut& pings)> leaveOut;
        std::function<qint64()> roomWaitNs; ///< as in vnSerialComs
    };

    /** Called once by the engine. The timers created later are children of `engine`. */
    virtual void attach(QObject* engine, const Callbacks& callbacks) = 0;

    /**
     * Whether the line is read as described at vnPacketComs::keepUnreadOnLine(). If so, one look
     * may leave bytes on the line, so another look must follow.
     */
    virtual bool keepsUnreadOnLine() const = 0;
    /**
     * Whether an echo is late when its round trip is longer than the time-out. If false, an echo is
     * late only after a sweep has given up its ping.
     */
    virtual bool limitsRoundTrips() const = 0;

    /**
     * Starts the recurring actions of a run over the line `descriptor`. Calls none of the
     * callbacks.
     */
    virtual void beginRun(const TestConfig& config, int descriptor) = 0;
    /** Ends the run's actions; no timer of the run fires afterwards. May call `leaveOut`. */
    virtual void endRun() = 0;
    /** Sends no more pings until resumeSending(). Call it during a run. */
    virtual void pauseSending() = 0;
    /** Sends pings again; the first one comes after one interval. */
    virtual void resumeSending() = 0;
    virtual bool isSendingPaused() const = 0;
    /**
     * When the ping being sent should have left, as a nowNs() value; -1 if there is no schedule.
     */
    virtual qint64 dueNs() const = 0;

    /**
     * Call it after endRun(). Blocks the thread for `limitMs` and reads the line meanwhile. A
     * timing may return earlier, once `isOver` returns true.
     */
    virtual void waitForReplies(int limitMs, const std::function<bool()>& isOver) = 0;
    /** Blocks the thread for `ms` milliseconds. */
    virtual void pause(int ms) = 0;

    /** Calls `showDisplay` every `intervalMs`, the first time after one interval. */
    virtual void startDisplay(int intervalMs) = 0;
    virtual void stopDisplay() = 0;
};

/** Returns a new timing of that kind. */
std::unique_ptr<EngineTiming> makeTiming(TimingKind kind);
