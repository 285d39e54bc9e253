#include "engine/BraskTestWorker.h"

#include "engine/timing/wallTime.h"
#include "link/vnPacketComs.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint8_t clearScreenCommand = 6;
constexpr uint8_t writeTextCommand = 31;
/** Column and row, in front of the text. */
constexpr int positionSize = 2;

} // namespace

void BraskTestWorker::updateLCDDisplay()
{
    if (!connected)
        return;
    sendLCDText(0, 0, wallTime().toString(QStringLiteral("MM/dd/yy hh:mm:ss")));
    if (!testRunning) {
        sendLCDText(1, 0, QStringLiteral("Ready"));
        return;
    }
    sendLCDText(1, 0,
                QStringLiteral("Tx:%1 Rx:%2").arg(stats.packetsSent).arg(stats.packetsReceived));
    if (stats.packetsSent != 0)
        sendLCDText(2, 0,
                    QStringLiteral("OK:%1% %2ms")
                        .arg(QString::number(stats.successRate, 'f', 0),
                             QString::number(stats.avgLatencyMs)));
    if (stats.packetsLost != 0)
        sendLCDText(3, 0, QStringLiteral("Lost:%1").arg(stats.packetsLost));
}

void BraskTestWorker::clearLCD()
{
    if (!connected)
        return;
    vnPacket request{};
    request.command = clearScreenCommand;
    packetComs->sendPacket(request);
}

void BraskTestWorker::sendLCDText(int row, int column, const QString& text)
{
    if (!connected)
        return;
    const QByteArray bytes = text.toLocal8Bit();
    const auto size = std::min<qsizetype>(bytes.size(), vnMaxDataLength - positionSize);
    vnPacket request{};
    request.command = writeTextCommand;
    request.data[0] = static_cast<uint8_t>(column);
    request.data[1] = static_cast<uint8_t>(row);
    std::memcpy(request.data + positionSize, bytes.constData(), static_cast<size_t>(size));
    request.dataLength = static_cast<uint8_t>(positionSize + size);
    packetComs->sendPacket(request);
}
