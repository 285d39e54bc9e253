#pragma once

#include "measure/RunMeasurement.h"

#include <QObject>

#include <optional>

/**
 * Collects the figures of a run and signals the events that the driver reacts to.
 *
 * The object lives on the driver's thread, but its functions are called on the engine's thread. Its
 * signals are emitted there too, so use queued connections. Their order relative to the engine's
 * own signals is kept.
 */
class RunObserver : public QObject, public RunMeasurement
{
    Q_OBJECT

public:
    /** `pings` as in RunMeasurement; `timeoutMs` as in TestConfig. */
    RunObserver(PingSink* pings, int timeoutMs)
        : RunMeasurement(pings), timeoutNs(timeoutMs * qint64{1'000'000})
    {
    }

    void runBegan(qint64 atNs) override;
    void pingSent(const Sent& ping) override;
    void sendFailed(quint64 id, int sizeBytes, qint64 atNs) override;
    void errorReplied(int code, qint64 atNs) override;
    void sendingEnded(qint64 atNs) override;

signals:
    /** Once per run, before the engine's first log line about it. */
    void began();
    /** Once per run, before the engine's log line that it waits for replies. */
    void stoppedSending();
    /** Once for each error reply without a code, before the engine's log line about it. */
    void repliedWithoutCode();
    /** At most once per run: no ping could be sent for longer than the time-out. */
    void lineLost();

private:
    qint64 timeoutNs;
    std::optional<qint64> failingSinceNs; ///< first failure since the last ping sent
    bool lost = false;
};
