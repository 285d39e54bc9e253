#include "link/vnPacketComs.h"

#include "link/RingBuffer.h"
#include "link/vnSerialComs.h"

#include <array>
#include <cstring>

namespace {

constexpr uint32_t receiveRingCapacity = 1240;
constexpr uint32_t readChunk = 32;
constexpr uint8_t unusedDataByte = 0x99;

constexpr std::array<uint16_t, 256> makeCrcTable()
{
    constexpr uint16_t reflectedPolynomial = 0x8408;
    std::array<uint16_t, 256> table{};
    for (uint32_t value = 0; value < table.size(); ++value) {
        auto crc = static_cast<uint16_t>(value);
        for (int bit = 0; bit < 8; ++bit) {
            const bool carry = (crc & 1U) != 0;
            crc = static_cast<uint16_t>((crc >> 1U) ^ (carry ? reflectedPolynomial : 0U));
        }
        table[value] = crc;
    }
    return table;
}

constexpr std::array<uint16_t, 256> crcTable = makeCrcTable();
static_assert(crcTable[1] == 0x1189 && crcTable[2] == 0x2312 && crcTable[128] == 0x8408);

/** Command and length: what the CRC covers beside the data. */
constexpr uint32_t headerLength = 2;

/** The record as the frame's bytes, up to its data's end. */
uint8_t* frameBytes(vnPacket& packet)
{
    return reinterpret_cast<uint8_t*>(&packet);
}

} // namespace

vnPacketComs::vnPacketComs(QObject* parent, vnSerialComs* line)
    : QObject(parent), serial(line), received(RingBuffer::create(receiveRingCapacity)),
      readMoments(receiveRingCapacity)
{
}

vnPacketComs::~vnPacketComs()
{
    RingBuffer::destroy(received);
}

uint16_t vnPacketComs::calculateCRC(const uint8_t* bytes, uint16_t length)
{
    uint32_t crc = 0xFFFF;
    for (uint32_t i = 0; i < length; ++i)
        crc = (crc >> 8U) ^ crcTable[(crc ^ bytes[i]) & 0xFFU];
    return static_cast<uint16_t>(crc ^ 0xFFFFU);
}

bool vnPacketComs::sendPacket(vnPacket& packet)
{
    if (packet.dataLength > vnMaxDataLength)
        packet.dataLength = vnMaxDataLength;
    const uint32_t covered = headerLength + packet.dataLength;
    packet.crc = calculateCRC(frameBytes(packet), static_cast<uint16_t>(covered));

    std::array<uint8_t, vnMaxFrameLength> frame{};
    std::memcpy(frame.data(), frameBytes(packet), covered);
    frame[covered] = static_cast<uint8_t>(packet.crc & 0xFFU);
    frame[covered + 1] = static_cast<uint8_t>(packet.crc >> 8U);
    return serial->writeData(frame.data(), packet.dataLength + vnFrameOverhead);
}

bool vnPacketComs::writeRaw(const uint8_t* bytes, uint32_t length)
{
    return serial->writeData(bytes, length);
}

bool vnPacketComs::receivePacket(vnPacket& packet)
{
    drainLine();
    const uint32_t buffered = received->count();
    for (uint32_t offset = 0; offset + vnFrameOverhead <= buffered; ++offset) {
        if (frameAt(offset, buffered, packet)) {
            const uint32_t end = offset + packet.dataLength + vnFrameOverhead;
            packetReadNs = readMoments[(received->tail + end - 1) % receiveRingCapacity];
            received->discard(end);
            return true;
        }
    }
    if (buffered > vnMaxFrameLength)
        received->discard(buffered - vnMaxFrameLength);
    lineIsDry = false;
    return false;
}

void vnPacketComs::drainLine()
{
    std::array<uint8_t, readChunk> chunk{};
    uint32_t bytesRead = readChunk;
    while (!sparesLine || (!lineIsDry && received->count() + readChunk <= receiveRingCapacity)) {
        serial->readData(chunk.data(), readChunk, bytesRead);
        lineIsDry = bytesRead < readChunk;
        if (bytesRead == 0)
            return;
        for (uint32_t i = 0; i < bytesRead; ++i) {
            if (received->push(chunk[i]))
                readMoments[(received->head - 1) % receiveRingCapacity] = serial->lastReadNs();
        }
    }
}

bool vnPacketComs::frameAt(uint32_t offset, uint32_t buffered, vnPacket& packet) const
{
    uint8_t dataLength = 0;
    received->peek(offset + 1, dataLength);
    if (dataLength > vnMaxDataLength || offset + dataLength + vnFrameOverhead > buffered)
        return false;

    const uint32_t covered = headerLength + dataLength;
    std::memset(packet.data, unusedDataByte, sizeof packet.data);
    received->peekRun(offset, covered, frameBytes(packet));
    uint8_t low = 0;
    uint8_t high = 0;
    received->peek(offset + covered, low);
    received->peek(offset + covered + 1, high);
    packet.crc = static_cast<uint16_t>(low | (high << 8));
    return calculateCRC(frameBytes(packet), static_cast<uint16_t>(covered)) == packet.crc;
}

#include "moc_vnPacketComs.cpp"
