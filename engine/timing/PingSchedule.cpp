#include "engine/timing/PingSchedule.h"

#include <algorithm>

void PingSchedule::begin(qint64 startNs, int perSecond, qint64 endNs)
{
    rate = perSecond;
    lastNs = endNs;
    restart(startNs);
}

void PingSchedule::restart(qint64 nowNs)
{
    baseNs = nowNs;
    taken = 0;
}

qint64 PingSchedule::dueAfter(qint64 pings) const
{
    // Computes whole seconds separately, so that no run is long enough to overflow.
    return baseNs + pings / rate * secondNs + pings % rate * secondNs / rate;
}

qint64 PingSchedule::countDue(qint64 nowNs) const
{
    const qint64 untilNs = lastNs < 0 ? nowNs : std::min(nowNs, lastNs);
    const qint64 elapsedNs = untilNs - baseNs;
    if (elapsedNs < 0)
        return 0;
    qint64 due = countWithin(elapsedNs);
    // A due time is rounded down to a whole nanosecond, so one more ping may be due.
    if (dueAfter(due + 1) <= untilNs)
        ++due;
    return due - taken;
}

qint64 PingSchedule::countWithin(qint64 spanNs) const
{
    return spanNs / secondNs * rate + spanNs % secondNs * rate / secondNs;
}

qint64 PingSchedule::intervalNs() const
{
    return (secondNs + rate - 1) / rate;
}

qint64 PingSchedule::burstLimit() const
{
    return std::max<qint64>(1, rate * burstNs / secondNs);
}
