#include "simulator/moduleFrame.h"

#include "link/vnPacketComs.h"

QByteArray moduleFrame::make(quint8 command, const QByteArray& data)
{
    QByteArray frame;
    frame.append(static_cast<char>(command));
    frame.append(static_cast<char>(data.size()));
    frame.append(data);
    const quint16 check = crc(frame);
    frame.append(static_cast<char>(check & 0xFFU));
    frame.append(static_cast<char>(check >> 8U));
    return frame;
}

quint16 moduleFrame::crc(QByteArrayView covered)
{
    // Converts the type: Qt uses char, the link layer uint8_t.
    const auto* bytes =
        reinterpret_cast<const uint8_t*>(covered.data()); // NOLINT(*-reinterpret-cast)
    return vnPacketComs::calculateCRC(bytes, static_cast<uint16_t>(covered.size()));
}
