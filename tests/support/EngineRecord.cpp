#include "tests/support/EngineRecord.h"

#include "engine/BraskTestWorker.h"

#include <utility>

EngineRecord::EngineRecord(BraskTestWorker* worker)
{
    connect(worker, &BraskTestWorker::logMessage, this,
            [this](const QString& type, const QString& msg) { lines += type + ": " + msg; });
    connect(worker, &BraskTestWorker::errorOccurred, this,
            [this](const QString& error) { lines += "error: " + error; });
    connect(worker, &BraskTestWorker::connectionChanged, this,
            [this](bool connected) { lines += connected ? "connected" : "disconnected"; });
    connect(worker, &BraskTestWorker::portsEnumerated, this, [this] { lines += "ports"; });
    connect(worker, &BraskTestWorker::testCompleted, this, [this] {
        lines += "completed";
        ++completed;
    });
    connect(worker, &BraskTestWorker::statisticsUpdated, this, [this](const TestStats& now) {
        stats = now;
        lines += QStringLiteral("statistics %1/%2/%3")
                     .arg(now.packetsSent)
                     .arg(now.packetsReceived)
                     .arg(now.packetsLost);
    });
}

QStringList EngineRecord::take()
{
    return std::exchange(lines, {});
}
