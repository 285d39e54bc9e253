#include "engine/BraskTestWorker.h"

#include <QDateTime>
#include <QThread>
#include <QTimer>

namespace {

constexpr int timeoutSweepMs = 100;
constexpr int pollMs = 10;
constexpr int statisticsMs = 100;
constexpr int finalPolls = 10;
constexpr unsigned long finalPollPauseMs = 50;

template <typename Action>
QTimer* makeRunTimer(BraskTestWorker* worker, int intervalMs, Action action)
{
    auto* timer = new QTimer(worker);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, worker, action);
    timer->start(intervalMs);
    return timer;
}

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
    stats.startTime = QDateTime::currentMSecsSinceEpoch();
    pendingPackets.clear();
    nextSequenceId = 0;
    emit logMessage(QStringLiteral("INFO"), QStringLiteral("Test started"));
    startRunTimers();
}

void BraskTestWorker::startRunTimers()
{
    sendTimer =
        makeRunTimer(this, 1000 / config.packetsPerSecond, &BraskTestWorker::sendNextPacket);
    timeoutTimer = makeRunTimer(this, timeoutSweepMs, &BraskTestWorker::checkTimeouts);
    pollTimer = makeRunTimer(this, pollMs, &BraskTestWorker::pollForPackets);
    statsTimer = makeRunTimer(this, statisticsMs, [this] { emit statisticsUpdated(stats); });
    if (config.durationSec > 0) {
        durationTimer = makeRunTimer(this, config.durationSec * 1000, [this] {
            emit logMessage(QStringLiteral("INFO"), QStringLiteral("Test duration reached"));
            stopTest();
        });
        durationTimer->setSingleShot(true);
    }
}

void BraskTestWorker::stopTest()
{
    if (!testRunning)
        return;
    testRunning = false;
    endRunTimers();
    emit logMessage(QStringLiteral("INFO"), QStringLiteral("Waiting for final replies..."));
    waitForFinalReplies();
    giveUpPending();
    updateSuccessRate();
    emit statisticsUpdated(stats);
    emit logMessage(
        QStringLiteral("INFO"),
        QStringLiteral("Test stopped. Sent: %1, Received: %2, Lost: %3, Success: %4%")
            .arg(QString::number(stats.packetsSent), QString::number(stats.packetsReceived),
                 QString::number(stats.packetsLost), QString::number(stats.successRate, 'f', 1)));
    emit testCompleted();
}

void BraskTestWorker::endRunTimers()
{
    for (QTimer** timer : {&sendTimer, &timeoutTimer, &pollTimer, &statsTimer, &durationTimer}) {
        if (*timer == nullptr)
            continue;
        (*timer)->stop();
        (*timer)->deleteLater(); // the run may be ending inside this timer's own timeout
        *timer = nullptr;
    }
}

void BraskTestWorker::waitForFinalReplies()
{
    QThread::msleep(2UL * static_cast<unsigned long>(config.timeoutMs));
    for (int round = 0; round < finalPolls; ++round) {
        pollForPackets();
        QThread::msleep(finalPollPauseMs);
    }
}

void BraskTestWorker::giveUpPending()
{
    for (auto ping = pendingPackets.keyBegin(); ping != pendingPackets.keyEnd(); ++ping) {
        ++stats.packetsLost;
        emit logMessage(QStringLiteral("TIMEOUT"),
                        QStringLiteral("Packet %1 lost (final timeout)").arg(*ping));
    }
    pendingPackets.clear();
}
