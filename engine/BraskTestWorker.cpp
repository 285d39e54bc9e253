#include "engine/BraskTestWorker.h"

#include "engine/timing/WindowTiming.h"
#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"

namespace {

constexpr uint8_t pingRequest = 0x00;
constexpr uint8_t echoReply = 0x40;

} // namespace

BraskTestWorker::BraskTestWorker(QObject* parent)
    : BraskTestWorker(Setup{.timing = std::make_unique<WindowTiming>()}, parent)
{
}

BraskTestWorker::BraskTestWorker(Setup setup, QObject* parent)
    : QObject(parent), timing(std::move(setup.timing)),
      observer(setup.observer != nullptr ? setup.observer : &nobody),
      writesScreen(setup.writesScreen), payload(std::move(setup.payload)),
      echoCommand(setup.isLoopback ? pingRequest : echoReply), clock(*timing),
      serialPort(new vnSerialComs(this, QString(), 0)),
      packetComs(new vnPacketComs(this, serialPort)), portEnumerator(new vnPortEnumerator)
{
    serialPort->setClock(timing.get());
    if (timing->keepsUnreadOnLine())
        packetComs->keepUnreadOnLine();
    packetComs->readInOrder([this](std::span<const uint8_t> bytes) { return awaits(bytes); });
    packetComs->tell(setup.bytes);
    attachTiming();
    resetStatistics();
}

void BraskTestWorker::attachTiming()
{
    const auto look = [this] {
        const quint64 before = serialPort->bytesTaken();
        pollForPackets();
        return serialPort->bytesTaken() != before;
    };
    const auto leaveOut = [this](const PingObserver::LeftOut& pings) {
        observer->pingsLeftOut(pings, timing->nowNs());
    };
    timing->attach(this, {.send = [this] { sendNextPacket(); },
                          .sweep = [this] { checkTimeouts(); },
                          .look = look,
                          .publish = [this] { emit statisticsUpdated(stats); },
                          .endInTime =
                              [this] {
                                  emit logMessage(QStringLiteral("INFO"),
                                                  QStringLiteral("Test duration reached"));
                                  stopTest();
                              },
                          .showDisplay = [this] { updateLCDDisplay(); },
                          .leaveOut = leaveOut,
                          .roomWaitNs = [this] { return serialPort->roomWaitNs(); }});
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

void registerEngineTypes()
{
    qRegisterMetaType<QList<portInfo>>("QList<portInfo>");
    qRegisterMetaType<TestStats>("TestStats");
    qRegisterMetaType<TestConfig>("TestConfig");
    qRegisterMetaType<portInfo>("portInfo");
}

#include "moc_BraskTestWorker.cpp"
