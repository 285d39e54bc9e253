#pragma once

#include <QtGlobal>

/** What became of a ping. All but the received ones and the one not sent are lost. */
enum class PingFate : quint8 {
    Received,
    ReceivedAfterEnd, ///< in the final wait
    NoEchoInTime,
    NoEchoAtEnd,
    ChangedEcho,
    NotSent,
};

/** A ping whose fate is known. */
struct PingRecord
{
    quint64 id;
    int sizeBytes;
    PingFate fate;
    qint64 sentNs;      ///< since the run's start; of one not sent, when that was known
    qint64 roundTripNs; ///< -1 without an echo
};

/** Is handed the pings of a run, in the order of their ids and without a gap. */
class PingSink
{
public:
    PingSink() = default;
    virtual ~PingSink() = default;
    PingSink(const PingSink&) = delete;
    PingSink& operator=(const PingSink&) = delete;

    /** On the engine's thread, whose work waits meanwhile. */
    virtual void pingEnded(const PingRecord& ping) = 0;
};
