#pragma once

#include "engine/timing/PingObserver.h"
#include "link/ByteListener.h"
#include "measure/LossBursts.h"
#include "measure/PingSequence.h"
#include "measure/RunFigures.h"

#include <mutex>

class PingSink;

/**
 * Turns what the engine tells into the figures of the run, in memory that a longer run hardly makes
 * grow: below 2 MB for any length. Each run starts from nothing.
 *
 * figures() and lastSecond() may be called on any thread at any time; the sums in a record agree
 * with one another. All else is on the engine's thread.
 */
class RunMeasurement : public PingObserver, public ByteListener
{
public:
    /**
     * `pingSink` gets every ping once its fate and those of all before it are known, the last ones
     * before runEnded() returns. It is not owned and must live until then; null: nobody wants them.
     */
    explicit RunMeasurement(PingSink* pingSink = nullptr) : sink(pingSink) {}

    /** Holds up the engine for a fraction of a millisecond: for the end, or now and then. */
    RunFigures figures() const;
    /**
     * The last whole second of the run; nothing before its first one is over. Seconds pass with
     * what the engine tells: when it has nothing to tell this is an old one.
     */
    std::optional<TimeSpan> lastSecond() const;

    void runBegan(qint64 atNs) override;
    void pingSent(const Sent& ping) override;
    void sendFailed(quint64 id, int sizeBytes, qint64 atNs) override;
    void pingsLeftOut(const LeftOut& pings, qint64 atNs) override;
    void echoMatched(const Echo& echo) override;
    void echoChanged(const Echo& echo) override;
    void pingGivenUp(quint64 id, qint64 atNs, bool atEnd) override;
    void otherArrived(Other what, quint64 id, qint64 atNs) override;
    void errorReplied(int code, qint64 atNs) override;
    void sendingEnded(qint64 atNs) override;
    void runEnded(qint64 atNs) override;

    void frameTaken(std::span<const uint8_t> frame, qint64 readNs) override;
    void bytesSkipped(std::span<const uint8_t> bytes, qint64 readNs) override;
    void bytesOverrun(std::span<const uint8_t> bytes, qint64 readNs) override;

private:
    qint64 sinceStart(qint64 atNs);
    quint64& counterOf(Other what, quint64 id);
    void timeLateEcho(quint64 id, qint64 atNs);
    void endPing(quint64 id, PingFate fate, qint64 roundTripNs);

    PingSink* const sink;
    PingSequence sequence; ///< of the engine's thread alone
    qint64 beganNs = 0;
    bool sending = false;

    mutable std::mutex mutex; ///< guards what follows
    RunFigures counts;        ///< only what is counted as it happens
    LatencyHistogram roundTrips;
    LatencyHistogram sendLags;
    TimeSpans timeSpans;
    LossBursts bursts;
    quint64 echoedBelow = 0; ///< one more than the highest id matched so far
};
