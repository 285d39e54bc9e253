#include "engine/BraskTestWorker.h"

#include "engine/timing/EngineTiming.h"
#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"

namespace {

/** Added to twice the time-out for the final wait. */
constexpr int finalMarginMs = 500;

} // namespace

void BraskTestWorker::startTest(TestConfig newConfig)
{
    if (!connected) {
        emit errorOccurred(QStringLiteral("Cannot start test: Not connected to a port"));
        return;
    }
    if (testRunning) {
        emit logMessage(QStringLiteral("WARNING"), QStringLiteral("Test already running"));
        return;
    }
    config = newConfig;
    testRunning = true;
    resetStatistics();
    clock.restart();
    stats.startTime = clock.nowMs();
    pendingPackets.clear();
    nextSequenceId = 0;
    payload.restart();
    observer->runBegan(timing->nowNs());
    emit logMessage(QStringLiteral("INFO"), QStringLiteral("Test started"));
    // Bytes still on the line are from before this run: no ping waits for them.
    packetComs->waitNoLonger();
    pollForPackets();
    timing->beginRun(config, serialPort->descriptor());
}

void BraskTestWorker::stopTest()
{
    if (!testRunning)
        return;
    testRunning = false;
    timing->endRun();
    observer->sendingEnded(timing->nowNs());
    emit logMessage(QStringLiteral("INFO"), QStringLiteral("Waiting for final replies..."));
    waitForFinalReplies();
    giveUpPending();
    observer->runEnded(timing->nowNs());
    updateSuccessRate();
    emit statisticsUpdated(stats);
    emit logMessage(
        QStringLiteral("INFO"),
        QStringLiteral("Test stopped. Sent: %1, Received: %2, Lost: %3, Success: %4%")
            .arg(QString::number(stats.packetsSent), QString::number(stats.packetsReceived),
                 QString::number(stats.packetsLost), QString::number(stats.successRate, 'f', 1)));
    emit testCompleted();
}

void BraskTestWorker::waitForFinalReplies()
{
    timing->waitForReplies(2 * config.timeoutMs + finalMarginMs,
                           [this] { return pendingPackets.isEmpty() && !packetComs->isWaiting(); });
    packetComs->waitNoLonger();
    pollForPackets();
}

void BraskTestWorker::giveUpPending()
{
    for (auto ping = pendingPackets.keyBegin(); ping != pendingPackets.keyEnd(); ++ping) {
        ++stats.packetsLost;
        observer->pingGivenUp(*ping, timing->nowNs(), true);
        emit logMessage(QStringLiteral("TIMEOUT"),
                        QStringLiteral("Packet %1 lost (final timeout)").arg(*ping));
    }
    pendingPackets.clear();
}
