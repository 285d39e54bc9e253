#pragma once

#include "drive/LineWatch.h"
#include "measure/RunMeasurement.h"

#include <QObject>

/**
 * What the runner learns of a run from the engine: its figures, and the moments that it acts upon.
 *
 * Lives on the runner's thread and is called on the engine's; the signals are sent from there, so
 * connect to them by queued connections. They keep their order among the engine's own.
 */
class RunObserver : public QObject, public RunMeasurement
{
    Q_OBJECT

public:
    /** `pings` as of RunMeasurement; `timeoutMs` as in TestConfig. */
    RunObserver(PingSink* pings, int timeoutMs) : RunMeasurement(pings), lineWatch(timeoutMs) {}

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
    LineWatch lineWatch;
    bool lost = false;
};
