#pragma once

#include "link/SteadyClock.h"

/**
 * A wall clock that does not step when the system time is set. It reads the system time once, at
 * construction and at each restart(), and continues with a steady clock. One thread at a time.
 */
class RunClock
{
public:
    /** `steadyClock` is not owned and must outlive this object. */
    explicit RunClock(const SteadyClock& steadyClock) : steady(&steadyClock) { restart(); }

    /** Reads the system time again. */
    void restart();
    /** Milliseconds since the Unix epoch. */
    qint64 nowMs() const;

private:
    const SteadyClock* steady;
    qint64 wallNs{};   ///< system time at the last restart, since the Unix epoch
    qint64 steadyNs{}; ///< steady clock at the same moment
};
