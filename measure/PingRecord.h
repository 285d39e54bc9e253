#pragma once

#include <QtGlobal>

/** The fate of a ping. It is lost unless it is Received, ReceivedAfterEnd or NotSent. */
enum class PingFate : quint8 {
    Received,
    ReceivedAfterEnd, ///< received in the final wait
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
    qint64 sentNs;      ///< since the run's start; for NotSent, when the send failed
    qint64 roundTripNs; ///< -1 without an echo
};

/** Receives the pings of a run in the order of their ids, without gaps. */
class PingSink
{
public:
    PingSink() = default;
    virtual ~PingSink() = default;
    PingSink(const PingSink&) = delete;
    PingSink& operator=(const PingSink&) = delete;

    /** Called on the engine's thread, which waits until it returns. */
    virtual void pingEnded(const PingRecord& ping) = 0;
};
