#include "engine/lineCapacity.h"

#include "engine/TestStats.h"
#include "engine/screenRows.h"
#include "link/vnPacket.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace {

/** Size of the sequence id, with which every payload begins. */
constexpr int smallestPayload = 8;
constexpr int longestRunSec = 3600;

/** Formats with one decimal, or with none for whole numbers. */
QString figure(double value)
{
    return QString::number(value, 'f', value == std::floor(value) ? 0 : 1);
}

QString describeRate(const TestConfig& config, double rate)
{
    const QString asked = QString::number(config.packetsPerSecond);
    if (figure(rate) == asked)
        return asked + QStringLiteral(" packets/s");
    return QStringLiteral("%1 packets/s, sent as %2 (one every %3 ms),")
        .arg(asked, figure(rate), figure(1000 / rate));
}

ScreenTraffic fullScreenTraffic(const TestConfig& config, double rate)
{
    TestStats stats;
    stats.packetsSent =
        static_cast<quint64>(rate * (config.durationSec > 0 ? config.durationSec : longestRunSec));
    stats.packetsReceived = stats.packetsSent;
    stats.successRate = 100;
    stats.avgLatencyMs = config.timeoutMs;
    return screenTraffic(stats);
}

} // namespace

double meanFrameBytes(const TestConfig& config)
{
    int sum = 0;
    for (int size = config.minDataSize; size <= config.maxDataSize; ++size)
        sum += std::max(size, smallestPayload) + static_cast<int>(vnFrameOverhead);
    return static_cast<double>(sum) / (config.maxDataSize - config.minDataSize + 1);
}

double attemptedRate(const TestConfig& config, bool wholeMilliseconds)
{
    if (!wholeMilliseconds)
        return config.packetsPerSecond;
    const int intervalMs = 1000 / config.packetsPerSecond;
    return 1000.0 / intervalMs;
}

ScreenTraffic screenTraffic(const TestStats& stats)
{
    constexpr int overhead = static_cast<int>(vnFrameOverhead);
    const QDateTime anyTime(QDate(2000, 1, 1), QTime(0, 0)); // all have the same length
    ScreenTraffic traffic;
    for (const QString& row : screenRows(anyTime, &stats)) {
        if (row.isEmpty())
            continue;
        traffic.toModule += overhead + screenPositionBytes + static_cast<int>(row.size());
        traffic.fromModule += overhead;
    }
    return traffic;
}

double lineSharePercent(double bytesPerSecond, int baudRate)
{
    return bytesPerSecond * bitsPerByte / baudRate * 100;
}

QString capacityWarning(const TestConfig& config, int baudRate, const LineUse& use)
{
    const double rate = attemptedRate(config, use.wholeMilliseconds);
    const int screenBytes = use.writesScreen ? fullScreenTraffic(config, rate).toModule : 0;
    const double frameBits = meanFrameBytes(config) * bitsPerByte;
    const double screenBits = screenBytes * bitsPerByte;
    const double neededBits = rate * frameBits + screenBits;
    if (neededBits <= baudRate)
        return {};
    const bool sizesVary = std::max(config.minDataSize, smallestPayload) <
                           std::max(config.maxDataSize, smallestPayload);
    QString packets = QStringLiteral("%1 of %2 bytes")
                          .arg(describeRate(config, rate), figure(meanFrameBytes(config)));
    if (sizesVary)
        packets += QStringLiteral(" on average");
    if (use.writesScreen)
        packets += QStringLiteral(" and %1 bytes/s for the module's screen").arg(screenBytes);
    return QStringLiteral("%1 need %2 bits/s at %3 bits a byte; %4 baud carries %5 frames/s%6")
        .arg(packets, figure(neededBits), QString::number(bitsPerByte), QString::number(baudRate),
             figure((baudRate - screenBits) / frameBits),
             use.writesScreen ? QStringLiteral(" beside the screen") : QString());
}
