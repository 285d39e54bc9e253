#pragma once

#include "measure/RunMeasurement.h"

#include <QObject>

#include <optional>

/**
 * Takes the figures of a run, and tells the driver of the moments that it acts upon.
 *
 * Lives on the driver's thread and is called on the engine's. The signals are sent from there, so
 * connect to them by queued connections. They keep their order among the engine's own.
 */
class RunObserver : public QObject, public RunMeasurement
{
    Q_OBJECT

public:
    /** `pings` as of RunMeasurement; `timeoutMs` as in TestConfig. */
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
    /** Once a run, in front of the engine's first line on it. */
    void began();
    /** Once a run, in front of the engine's line that it waits for replies. */
    void stoppedSending();
    /** In front of the engine's line on an error reply that carried no code. */
    void repliedWithoutCode();
    /** At most once a run: for longer than the time-out no ping could be sent. */
    void lineLost();

private:
    qint64 timeoutNs;
    std::optional<qint64> failingSinceNs; ///< first failure since the last ping sent
    bool lost = false;
};
