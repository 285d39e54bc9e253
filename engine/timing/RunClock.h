#pragma once

#include "link/SteadyClock.h"

/**
 * Tells the time as the wall does, but does not step when that is set: it looks at the wall once,
 * at construction and at each restart(), and goes on by a steady clock. One thread at a time.
 */
class RunClock
{
public:
    /** `steadyClock` is not owned and must outlive this object's use. */
    explicit RunClock(const SteadyClock& steadyClock) : steady(&steadyClock) { restart(); }

    /** Looks at the wall again. */
    void restart();
    /** Milliseconds since the Unix epoch. */
    qint64 nowMs() const;

private:
    const SteadyClock* steady;
    qint64 wallNs{};   ///< when the wall was looked at, since the Unix epoch
    qint64 steadyNs{}; ///< the same moment
};
