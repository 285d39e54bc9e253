#pragma once

#include "engine/timing/PingObserver.h"
#include "engine/timing/TestConfig.h"
#include "link/SteadyClock.h"

#include <functional>
#include <memory>

class QObject;

/** Which timing drives a run: WindowTiming or ExactTiming. */
enum class TimingKind { Window, Exact };

/**
 * Decides when an engine acts. It has the clock, the timers and the waits; the engine gives it the
 * callbacks. WindowTiming is the window's. ExactTiming measures to the microsecond.
 *
 * Threads: made anywhere, owned by its engine, and used on that engine's thread only, which needs
 * an event loop. The clock may be read on any thread.
 */
class EngineTiming : public SteadyClock
{
public:
    /** What the engine does when its time has come. Each of them may end the run from inside. */
    struct Callbacks
    {
        std::function<void()> send;        ///< sends the next ping
        std::function<void()> sweep;       ///< gives up old pings
        std::function<bool()> look;        ///< takes in what has arrived; false: nothing had
        std::function<void()> publish;     ///< publishes the statistics
        std::function<void()> endInTime;   ///< the run has lasted for its duration
        std::function<void()> showDisplay; ///< renews the module's screen
        /** Tells of pings that came due and will never leave; does not end the run. */
        std::function<void(const PingObserver::LeftOut& pings)> leaveOut;
        std::function<qint64()> roomWaitNs; ///< as of vnSerialComs
    };

    /** The engine calls it once. Timers made from then on are children of `engine`. */
    virtual void attach(QObject* engine, const Callbacks& callbacks) = 0;

    /**
     * Whether the line is read as after vnPacketComs::keepUnreadOnLine(). A look may then leave
     * bytes on the line, so another look has to follow.
     */
    virtual bool keepsUnreadOnLine() const = 0;
    /**
     * Whether an echo is late when its round trip is longer than the time-out. If not, it is late
     * once a sweep has given its ping up.
     */
    virtual bool limitsRoundTrips() const = 0;

    /** Begins all that recurs in a run over the line `descriptor`. Calls none of the callbacks. */
    virtual void beginRun(const TestConfig& config, int descriptor) = 0;
    /** Ends all of it; what beginRun() made does nothing more. Pings may be left out inside. */
    virtual void endRun() = 0;
    /** No more pings, until resumeSending(); in a run. */
    virtual void pauseSending() = 0;
    /** The next ping comes one interval later. */
    virtual void resumeSending() = 0;
    virtual bool isSendingPaused() const = 0;
    /** When the ping now being sent should have left, by nowNs(); -1 where there is no schedule. */
    virtual qint64 dueNs() const = 0;

    /**
     * After endRun(): holds the thread up for `limitMs`, looking all the while; a timing may return
     * once `isOver` holds.
     */
    virtual void waitForReplies(int limitMs, const std::function<bool()>& isOver) = 0;
    /** Holds the thread up for so long. */
    virtual void pause(int ms) = 0;

    /** Has the display renewed every `intervalMs`, the first time after one interval. */
    virtual void startDisplay(int intervalMs) = 0;
    virtual void stopDisplay() = 0;
};

/** A new timing of that kind. */
std::unique_ptr<EngineTiming> makeTiming(TimingKind kind);
