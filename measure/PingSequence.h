#pragma once

#include "measure/PingRecord.h"

#include <QtGlobal>

#include <optional>
#include <vector>

/**
 * Brings pings, whose fates are told in any order, back into the order of their ids.
 *
 * It holds the pings from the first one on that is still open, and of the last 65536 ids whether
 * they were answered. It allocates only when more pings are held than ever before.
 *
 * Not locked: one thread at a time.
 */
class PingSequence
{
public:
    PingSequence();
    /** The next ping is 0 again. */
    void clear();

    /** Ids come one after another, those of pings that could not be sent included. */
    void opened(quint64 id, int sizeBytes, qint64 sentNs);
    /** Once for each ping. `roundTripNs` is -1 without an echo. */
    void settled(quint64 id, PingFate fate, qint64 roundTripNs);

    /** Takes out the ping with the lowest id; nothing while its fate is not known. */
    std::optional<PingRecord> takeEnded();

    /** When a ping was sent; nothing for an id that is none of the last 2048. */
    std::optional<qint64> sentNs(quint64 id) const;

    /** Whether an echo, changed or not, ended the ping. False too when that is too long ago. */
    bool wasAnswered(quint64 id) const;

private:
    struct Held
    {
        PingRecord ping;
        bool open;
    };
    Held& held(quint64 id) { return ring[id % ring.size()]; }
    void grow();

    std::vector<Held> ring; ///< each id has its place; from `first` to before `next`
    quint64 first = 0;
    quint64 next = 0;
    std::vector<bool> answered;
};
