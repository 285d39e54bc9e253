#include "measure/PingSequence.h"

namespace {

constexpr std::size_t usuallyHeld = 2048; ///< twice the limit of open pings in the engine
constexpr std::size_t remembered = 65536;

} // namespace

PingSequence::PingSequence() : ring(usuallyHeld), answered(remembered) {}

void PingSequence::clear()
{
    first = next = 0;
}

void PingSequence::opened(quint64 id, int sizeBytes, qint64 sentNs)
{
    Q_ASSERT(id == next);
    if (next - first == ring.size())
        grow();
    held(id) = {{id, sizeBytes, PingFate::NotSent, sentNs, -1}, true};
    next = id + 1;
}

void PingSequence::settled(quint64 id, PingFate fate, qint64 roundTripNs)
{
    Q_ASSERT(id >= first && id < next && held(id).open);
    held(id).ping.fate = fate;
    held(id).ping.roundTripNs = roundTripNs;
    held(id).open = false;
    answered[id % remembered] = roundTripNs >= 0;
}

std::optional<PingRecord> PingSequence::takeEnded()
{
    if (first == next || held(first).open)
        return std::nullopt;
    return held(first++).ping;
}

std::optional<qint64> PingSequence::sentNs(quint64 id) const
{
    // The slots of the last usuallyHeld ids have not been reused, whatever the size of the ring.
    if (id >= next || next - id > usuallyHeld)
        return std::nullopt;
    return ring[id % ring.size()].ping.sentNs;
}

bool PingSequence::wasAnswered(quint64 id) const
{
    return id < next && next - id <= remembered && answered[id % remembered];
}

void PingSequence::grow()
{
    std::vector<Held> larger(ring.size() * 2);
    for (quint64 id = first; id < next; ++id)
        larger[id % larger.size()] = held(id);
    ring.swap(larger);
}
