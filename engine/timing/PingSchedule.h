#pragma once

#include <QtGlobal>

/**
 * When pings are due: the n-th of them n / rate seconds after the start, exactly, for every rate.
 *
 * Moments are nanoseconds of any one steady clock. Plain value; one thread at a time.
 */
class PingSchedule
{
public:
    static constexpr qint64 secondNs = 1'000'000'000;
    /** Pings missed for longer than this are not made up for. */
    static constexpr qint64 burstNs = 20'000'000;

    /** `perSecond` 1 to 1000; `endNs`: no ping is due after that, negative: no end. */
    void begin(qint64 startNs, int perSecond, qint64 endNs);
    /** The next ping is due one interval after `nowNs`; the end stays. */
    void restart(qint64 nowNs);

    /** When the next ping is due, which may lie behind the end. */
    qint64 nextDueNs() const { return dueAfter(taken + 1); }
    /** Between two pings; rounded up. */
    qint64 intervalNs() const;
    /** Pings due by `nowNs` and not taken. */
    qint64 countDue(qint64 nowNs) const;
    /** Pings that come due in `spanNs` of time; rounded down. */
    qint64 countWithin(qint64 spanNs) const;
    /** Most of those to be sent at once: 20 ms' worth, at least one. */
    qint64 burstLimit() const;
    /** The next ping has left. */
    void take() { ++taken; }
    /** The next `count` moments are left out: the pings that follow leave as many intervals later.
     */
    void skip(qint64 count) { taken += count; }

private:
    qint64 dueAfter(qint64 pings) const;

    qint64 baseNs = 0;
    qint64 taken = 0; ///< moments since baseNs that pings have left for, or that were left out
    qint64 rate = 1;
    qint64 lastNs = -1;
};
