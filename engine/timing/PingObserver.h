#pragma once

#include <QtGlobal>

/**
 * Is told by the engine, ping by ping, what happens in a run, in numbers and as it happens.
 *
 * Threads: every call comes on the engine's thread, between runBegan() and runEnded() of a run, and
 * holds up sending and receiving for as long as it takes. Moments are nanoseconds of the engine's
 * steady clock. They do not run backwards, except for frames that waited for earlier bytes to
 * become a frame: these are told with the moment they were read at, which may lie before calls made
 * since. A ping is named by its sequence id, which counts from 0 in each run; a ping that could not
 * be sent has used up its id.
 *
 * Of each ping that was sent, exactly one of echoMatched(), echoChanged() and pingGivenUp() is told
 * later, before runEnded(). Received pings are the matched ones, lost pings all others. What an
 * observer has no use for it need not override.
 */
class PingObserver
{
public:
    PingObserver() = default;
    virtual ~PingObserver() = default;
    PingObserver(const PingObserver&) = delete;
    PingObserver& operator=(const PingObserver&) = delete;

    /** A ping that the line has taken whole. */
    struct Sent
    {
        quint64 id;
        int sizeBytes;  ///< payload, 8 to 124
        qint64 dueNs;   ///< when the schedule wanted it to leave; -1: it left by no schedule
        qint64 startNs; ///< just before it was written, after any wait for room on the line
    };

    /** An echo that belongs to a ping still waited for. */
    struct Echo
    {
        quint64 id;
        qint64 readNs;      ///< just after the read that brought its last byte
        qint64 roundTripNs; ///< from the ping's `startNs` to `readNs`
        bool afterEnd;      ///< came in the final wait
    };

    /** What else a module sends. */
    enum class Other {
        LateEcho,    ///< of a ping of this run that is no longer waited for: given up, or answered
        UnknownEcho, ///< of a number that this run has not sent
        ShortEcho,   ///< too short to carry a number
        Report,
        Packet, ///< neither reply nor report, or the reply to a request that was not made
    };

    /** Pings that came due by the schedule and will never leave; no id is theirs. */
    struct LeftOut
    {
        qint64 byComputer; ///< it was busy for too long
        qint64 byLine;     ///< pings before them waited for room on the line
    };

    /** As a code: the error reply had no data. */
    static constexpr int noCode = -1;

    /** A run begins; what a line still held of earlier times is told of after this. */
    virtual void runBegan(qint64 atNs);
    virtual void pingSent(const Sent& ping);
    virtual void sendFailed(quint64 id, int sizeBytes, qint64 atNs);
    /** Any number of times until sendingEnded(), each for other pings. */
    virtual void pingsLeftOut(const LeftOut& pings, qint64 atNs);
    /** The echo is the ping's payload, byte for byte. */
    virtual void echoMatched(const Echo& echo);
    /** It differs in length or in a byte; the ping is lost. */
    virtual void echoChanged(const Echo& echo);
    /** No echo within the time-out; or, with `atEnd`, none by the end of the final wait. */
    virtual void pingGivenUp(quint64 id, qint64 atNs, bool atEnd);
    /** `id` is 0 where `what` is no echo with a number. */
    virtual void otherArrived(Other what, quint64 id, qint64 atNs);
    /** An error reply with this code, 0 to 255; noCode when it carried none. */
    virtual void errorReplied(int code, qint64 atNs);
    /** No more pings are sent; the final wait for echoes begins. */
    virtual void sendingEnded(qint64 atNs);
    /** The last call of a run; every ping has been told of. */
    virtual void runEnded(qint64 atNs);
};
