#include "runner/lineCapacity.h"

#include "link/vnPacket.h"

#include <algorithm>
#include <cmath>

namespace {

/** The sequence id, which every payload begins with. */
constexpr int smallestPayload = 8;

/** With one decimal, or none where that is exact. */
QString figure(double value)
{
    return QString::number(value, 'f', value == std::floor(value) ? 0 : 1);
}

QString describeRate(const TestConfig& config)
{
    const double rate = attemptedRate(config);
    const QString asked = QString::number(config.packetsPerSecond);
    if (figure(rate) == asked)
        return asked + QStringLiteral(" packets/s");
    return QStringLiteral("%1 packets/s, sent as %2 (one every %3 ms),")
        .arg(asked, figure(rate), figure(1000 / rate));
}

} // namespace

double meanFrameBytes(const TestConfig& config)
{
    int sum = 0;
    for (int size = config.minDataSize; size <= config.maxDataSize; ++size)
        sum += std::max(size, smallestPayload) + static_cast<int>(vnFrameOverhead);
    return static_cast<double>(sum) / (config.maxDataSize - config.minDataSize + 1);
}

double attemptedRate(const TestConfig& config)
{
    const int intervalMs = 1000 / config.packetsPerSecond;
    return 1000.0 / intervalMs;
}

double lineSharePercent(double bytesPerSecond, int baudRate)
{
    return bytesPerSecond * bitsPerByte / baudRate * 100;
}

QString capacityWarning(const TestConfig& config, int baudRate)
{
    const double frameBits = meanFrameBytes(config) * bitsPerByte;
    const double neededBits = attemptedRate(config) * frameBits;
    if (neededBits <= baudRate)
        return {};
    const bool sizesVary = std::max(config.minDataSize, smallestPayload) <
                           std::max(config.maxDataSize, smallestPayload);
    return QStringLiteral("%1 of %2 bytes%3 need %4 bits/s at %5 bits a byte; %6 baud carries %7 "
                          "frames/s")
        .arg(describeRate(config), figure(meanFrameBytes(config)),
             sizesVary ? QStringLiteral(" on average") : QString(), figure(neededBits),
             QString::number(bitsPerByte), QString::number(baudRate), figure(baudRate / frameBits));
}
