#pragma once

#include <QtGlobal>

/**
 * Receives from the engine, ping by ping and at once, what happens in a run.
 *
 * Threads: every call comes on the engine's thread, between runBegan() and runEnded() of a run, and
 * delays sending and receiving for as long as it takes. Times are nanoseconds of the engine's
 * steady clock. They do not run backwards, with one exception: a frame that could only be
 * recognised after later bytes had arrived is reported with the time at which it was read, which
 * may be earlier than the times of previous calls. A ping is identified by its sequence id, which
 * counts from 0 in each run. A ping that could not be sent has used an id too.
 *
 * For each ping that was sent, exactly one of echoMatched(), echoChanged() and pingGivenUp() is
 * called later, before runEnded(). Received pings are the matched ones; all others are lost.
 * Override only the functions that you need; the others do nothing.
 */
class PingObserver
{
public:
    PingObserver() = default;
    virtual ~PingObserver() = default;
    PingObserver(const PingObserver&) = delete;
    PingObserver& operator=(const PingObserver&) = delete;

    /** A ping that was written completely to the line. */
    struct Sent
    {
        quint64 id;
        int sizeBytes;  ///< payload, 8 to 124
        qint64 dueNs;   ///< when the ping was due; -1: there is no schedule
        qint64 startNs; ///< just before it was written, after waiting for room on the line
    };

    /** An echo of a ping that is still open. */
    struct Echo
    {
        quint64 id;
        qint64 readNs;      ///< just after the read that returned its last byte
        qint64 roundTripNs; ///< from the ping's `startNs` to `readNs`
        bool afterEnd;      ///< it came in the final wait
    };

    /** Other packets that a module sends. */
    enum class Other {
        LateEcho,    ///< of a ping of this run that is no longer open: given up or answered
        UnknownEcho, ///< with an id that this run has not used
        ShortEcho,   ///< too short to contain an id
        Report,
        Packet, ///< neither reply nor report, or a reply to a request that was not sent
    };

    /** Pings that came due and will never be sent; they have no ids. */
    struct LeftOut
    {
        qint64 byComputer; ///< because the computer was busy for too long
        qint64 byLine;     ///< because earlier pings waited for room on the line
    };

    /** Code for an error reply that had no data. */
    static constexpr int noCode = -1;

    /** A run begins. Bytes that were on the line before are reported after this call. */
    virtual void runBegan(qint64 atNs);
    virtual void pingSent(const Sent& ping);
    virtual void sendFailed(quint64 id, int sizeBytes, qint64 atNs);
    /** Any number of times before sendingEnded(), each time for other pings. */
    virtual void pingsLeftOut(const LeftOut& pings, qint64 atNs);
    /** The echo equals the ping's payload, byte for byte. */
    virtual void echoMatched(const Echo& echo);
    /** The echo differs from the payload in length or in a byte; the ping is lost. */
    virtual void echoChanged(const Echo& echo);
    /** No echo within the time-out or, with `atEnd`, none by the end of the final wait. */
    virtual void pingGivenUp(quint64 id, qint64 atNs, bool atEnd);
    /** `id` is 0 for packets that are not an echo with an id. */
    virtual void otherArrived(Other what, quint64 id, qint64 atNs);
    /** An error reply with this code, 0 to 255; noCode when it carried none. */
    virtual void errorReplied(int code, qint64 atNs);
    /** No more pings are sent; the final wait for echoes begins. */
    virtual void sendingEnded(qint64 atNs);
    /** The last call of a run; every ping has been reported. */
    virtual void runEnded(qint64 atNs);
};
