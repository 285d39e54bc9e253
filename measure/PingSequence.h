#pragma once

#include "measure/PingRecord.h"

#include <QtGlobal>

#include <optional>
#include <vector>

/**
 * Puts pings, whose fates are reported in any order, back into the order of their ids.
 *
 * It stores the pings from the first open one on. For the last 65536 ids it also stores whether
 * they were answered. It allocates memory only when it has to store more pings than ever before.
 *
 * Not locked: one thread at a time.
 */
class PingSequence
{
public:
    PingSequence();
    /** Starts again at ping 0. */
    void clear();

    /** Call it for consecutive ids, including those of pings that could not be sent. */
    void opened(quint64 id, int sizeBytes, qint64 sentNs);
    /** Call it once for each opened ping. `roundTripNs` is -1 without an echo. */
    void settled(quint64 id, PingFate fate, qint64 roundTripNs);

    /** Removes and returns the ping with the lowest id; no value while its fate is unknown. */
    std::optional<PingRecord> takeEnded();

    /** Returns when a ping was sent; no value for an id that is not among the last 2048. */
    std::optional<qint64> sentNs(quint64 id) const;

    /**
     * Whether the ping was ended by an echo, changed or not. Also false for an id that is not among
     * the last 65536.
     */
    bool wasAnswered(quint64 id) const;

private:
    struct Held
    {
        PingRecord ping;
        bool open;
    };
    Held& held(quint64 id) { return ring[id % ring.size()]; }
    void grow();

    std::vector<Held> ring; ///< holds the ids from `first` to before `next`, each at id modulo size
    quint64 first = 0;
    quint64 next = 0;
    std::vector<bool> answered;
};
