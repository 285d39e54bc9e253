#pragma once

#include <QtGlobal>

/**
 * Lets so many events a second pass, evenly: one that comes more than 40 ms ahead of its turn is
 * turned away, and each one let through moves the next one's turn on. Events that a busy computer
 * has bunched together so pass like even ones; a pause saves up nothing.
 *
 * Moments are nanoseconds of any one steady clock. Plain value; one thread at a time.
 */
class RateGate
{
public:
    /** How far ahead of its turn an event may come. */
    static constexpr qint64 toleranceNs = 40'000'000;

    /** 0 lets everything pass. */
    explicit RateGate(int perSecond) : rate(perSecond) {}

    bool passes(qint64 atNs);

private:
    int rate;
    qint64 turnNs = 0; ///< when the next event is due by the even spacing
};
