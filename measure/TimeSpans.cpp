#include "measure/TimeSpans.h"

#include <algorithm>

namespace {

constexpr qint64 nsPerSecond = 1'000'000'000;

} // namespace

void TimeSpans::Open::merge(const Open& other)
{
    roundTrips.merge(other.roundTrips);
    sent += other.sent;
    received += other.received;
    lost += other.lost;
}

void TimeSpans::Open::clear()
{
    roundTrips.clear();
    sent = received = lost = 0;
}

TimeSpan TimeSpans::Open::closed(quint64 startSec, double lengthSec) const
{
    std::optional<double> maximumUs;
    if (roundTrips.count() > 0)
        maximumUs = roundTrips.maximumUs();
    return {static_cast<qint64>(startSec),
            lengthSec,
            sent,
            received,
            lost,
            roundTrips.percentileUs(0.5),
            roundTrips.percentileUs(0.99),
            maximumUs};
}

TimeSpans::TimeSpans() : levels(1) {}

void TimeSpans::sent(qint64 atNs)
{
    advanceTo(atNs);
    ++levels[0].open.sent;
}

void TimeSpans::received(qint64 atNs, qint64 roundTripNs)
{
    advanceTo(atNs);
    ++levels[0].open.received;
    levels[0].open.roundTrips.add(roundTripNs);
}

void TimeSpans::lost(qint64 atNs)
{
    advanceTo(atNs);
    ++levels[0].open.lost;
}

void TimeSpans::advanceTo(qint64 atNs)
{
    latestNs = std::max(latestNs, atNs);
    while (latestNs / nsPerSecond > static_cast<qint64>(seconds))
        closeSecond();
}

void TimeSpans::closeSecond()
{
    closedSecond = levels[0].open.closed(seconds, 1);
    ++seconds;
    for (std::size_t n = 0;; ++n) {
        if (n + 1 == levels.size())
            levels.emplace_back();
        Level& level = levels[n];
        const quint64 spans = seconds >> n;
        const quint64 length = quint64{1} << n;
        if (spans <= most)
            level.closed.push_back(
                level.open.closed(seconds - length, static_cast<double>(length)));
        else
            level.closed = std::vector<TimeSpan>(); // frees its memory
        levels[n + 1].open.merge(level.open);
        level.open.clear();
        if (spans % 2 != 0)
            return;
    }
}

std::vector<TimeSpan> TimeSpans::spans() const
{
    Open rest; // everything not yet closed on level n
    std::size_t n = 0;
    for (;; ++n) {
        rest.merge(levels[n].open);
        const quint64 startSec = (seconds >> n) << n;
        const qint64 lengthNs = latestNs - static_cast<qint64>(startSec) * nsPerSecond;
        const bool goesOn = lengthNs > 0 || rest.sent + rest.received + rest.lost > 0;
        if ((seconds >> n) + (goesOn ? 1 : 0) > most)
            continue;
        std::vector<TimeSpan> all = levels[n].closed;
        if (goesOn)
            all.push_back(
                rest.closed(startSec, static_cast<double>(lengthNs) / double{nsPerSecond}));
        return all;
    }
}
