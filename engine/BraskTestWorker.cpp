#include "engine/BraskTestWorker.h"

#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"

BraskTestWorker::BraskTestWorker(QObject* parent)
    : QObject(parent), serialPort(new vnSerialComs(this, QString(), 0)),
      packetComs(new vnPacketComs(this, serialPort)), portEnumerator(new vnPortEnumerator)
{
    resetStatistics();
}

BraskTestWorker::~BraskTestWorker()
{
    cleanup();
    delete portEnumerator;
}

void BraskTestWorker::resetStatistics()
{
    stats = TestStats{};
}

void BraskTestWorker::recordLatency(qint64 latencyMs)
{
    if (stats.minLatencyMs > latencyMs)
        stats.minLatencyMs = static_cast<int>(latencyMs);
    if (stats.maxLatencyMs < latencyMs)
        stats.maxLatencyMs = static_cast<int>(latencyMs);
    stats.totalLatencyMs += static_cast<quint64>(latencyMs);
    stats.avgLatencyMs = static_cast<int>(stats.totalLatencyMs / stats.packetsReceived);
}

void BraskTestWorker::updateSuccessRate()
{
    if (stats.packetsSent != 0)
        stats.successRate = static_cast<double>(stats.packetsReceived) /
                            static_cast<double>(stats.packetsSent) * 100.0;
}

bool BraskTestWorker::isReported(quint64 sequenceId)
{
    return sequenceId < 10 || sequenceId % 100 == 0;
}
