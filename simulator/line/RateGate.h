#pragma once

#include <QtGlobal>

/**
 * Limits events to a number per second, evenly spaced. An event that comes more than 40 ms before
 * its turn is rejected; each accepted event moves the next turn on. So events that a busy computer
 * has bunched together are accepted like evenly spaced ones. A pause saves up nothing.
 *
 * Times are nanoseconds of one steady clock. Value type; one thread at a time.
 */
class RateGate
{
public:
    /** How much before its turn an event may come. */
    static constexpr qint64 toleranceNs = 40'000'000;

    /** `perSecond`: events per second; 0: accept all. */
    explicit RateGate(int perSecond) : rate(perSecond) {}

    bool passes(qint64 atNs);

private:
    int rate;
    qint64 turnNs = 0; ///< when the next event is due with even spacing
};
