#pragma once

#include "engine/timing/PingObserver.h"
#include "link/ByteListener.h"
#include "measure/LossBursts.h"
#include "measure/PingSequence.h"
#include "measure/RunFigures.h"

#include <mutex>

class PingSink;

/**
 * Computes the figures of a run from what the engine reports. It needs less than 2 MB of memory for
 * a run of any length. Each run starts with empty figures.
 *
 * figures() and lastSecond() may be called on any thread at any time; the counts in one record are
 * consistent. Call all other functions on the engine's thread.
 */
class RunMeasurement : public PingObserver, public ByteListener
{
public:
    /**
     * `pingSink` receives every ping once the fates of it and of all earlier pings are known; the
     * last ones before runEnded() returns. It is not owned and must live until then; null: none.
     */
    explicit RunMeasurement(PingSink* pingSink = nullptr) : sink(pingSink) {}

    /**
     * Returns the figures up to now. Blocks the engine for a fraction of a millisecond, so call it
     * at the end of a run or only occasionally.
     */
    RunFigures figures() const;
    /**
     * The last complete second of the run; no value during the first one. Time advances only with
     * the engine's reports, so while there are none, this is an older second.
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
    PingSequence sequence; ///< used on the engine's thread only
    qint64 beganNs = 0;
    bool sending = false;

    mutable std::mutex mutex; ///< guards the members below
    RunFigures counts;        ///< the figures counted directly; figures() adds the others
    LatencyHistogram roundTrips;
    LatencyHistogram sendLags;
    TimeSpans timeSpans;
    LossBursts bursts;
    quint64 echoedBelow = 0; ///< one more than the highest id matched so far
};
