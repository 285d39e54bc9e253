#include "engine/BraskTestWorker.h"

#include "engine/screenRows.h"
#include "engine/timing/wallTime.h"
#include "link/vnPacketComs.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint8_t clearScreenCommand = 6;
constexpr uint8_t writeTextCommand = 31;

} // namespace

void BraskTestWorker::updateLCDDisplay()
{
    if (!connected)
        return;
    const QStringList rows = screenRows(wallTime(), testRunning ? &stats : nullptr);
    for (int row = 0; row < rows.size(); ++row) {
        if (!rows[row].isEmpty())
            sendLCDText(row, 0, rows[row]);
    }
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
    const auto size = std::min<qsizetype>(bytes.size(), vnMaxDataLength - screenPositionBytes);
    vnPacket request{};
    request.command = writeTextCommand;
    request.data[0] = static_cast<uint8_t>(column);
    request.data[1] = static_cast<uint8_t>(row);
    std::memcpy(request.data + screenPositionBytes, bytes.constData(), static_cast<size_t>(size));
    request.dataLength = static_cast<uint8_t>(screenPositionBytes + size);
    packetComs->sendPacket(request);
}
