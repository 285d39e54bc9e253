#pragma once

#include <QtGlobal>

/**
 * Tells when pings are due: the n-th ping is due exactly n / rate seconds after the start, for
 * every rate.
 *
 * Times are nanoseconds of one steady clock. Value type; one thread at a time.
 */
class PingSchedule
{
public:
    static constexpr qint64 secondNs = 1'000'000'000;
    /** Missed pings are sent later only up to those of this time. */
    static constexpr qint64 burstNs = 20'000'000;

    /** `perSecond`: 1 to 1000. No ping is due after `endNs`; negative: no end. */
    void begin(qint64 startNs, int perSecond, qint64 endNs);
    /** Restarts the schedule: the next ping is due one interval after `nowNs`. The end stays. */
    void restart(qint64 nowNs);

    /** When the next ping is due; this may be after the end. */
    qint64 nextDueNs() const { return dueAfter(taken + 1); }
    /** Time between two pings; rounded up. */
    qint64 intervalNs() const;
    /** Number of pings due by `nowNs`, without those taken or skipped. */
    qint64 countDue(qint64 nowNs) const;
    /** Number of pings that come due within `spanNs`; rounded down. */
    qint64 countWithin(qint64 spanNs) const;
    /** Largest number of missed pings to send at once: those of 20 ms, at least one. */
    qint64 burstLimit() const;
    /** The next ping has been sent. */
    void take() { ++taken; }
    /** Leaves out the next `count` due times: the following ping gets the due time after them. */
    void skip(qint64 count) { taken += count; }

private:
    qint64 dueAfter(qint64 pings) const;

    qint64 baseNs = 0;
    qint64 taken = 0; ///< due times since baseNs that were used or skipped
    qint64 rate = 1;
    qint64 lastNs = -1;
};
