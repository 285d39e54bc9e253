#include "link/vnPacketComs.h"

#include "link/ByteListener.h"
#include "link/RingBuffer.h"
#include "link/vnSerialComs.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr uint32_t receiveRingCapacity = 1240;
constexpr uint32_t readChunk = 32;
constexpr uint8_t unusedDataByte = 0x99;

/** Returns the record's memory, which equals the frame up to the end of the data. */
uint8_t* frameBytes(vnPacket& packet)
{
    return reinterpret_cast<uint8_t*>(&packet);
}

/** Fills `packet`. `frame` starts with a correct frame; more bytes may follow. */
void fillPacket(vnPacket& packet, std::span<const uint8_t> frame)
{
    const uint32_t covered = vnHeaderLength + frame[1];
    std::memset(packet.data, unusedDataByte, sizeof packet.data);
    std::memcpy(frameBytes(packet), frame.data(), covered);
    packet.crc = static_cast<uint16_t>(frame[covered] | (frame[covered + 1] << 8));
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
    return frameCheck({bytes, length});
}

bool vnPacketComs::sendPacket(vnPacket& packet)
{
    if (packet.dataLength > vnMaxDataLength)
        packet.dataLength = vnMaxDataLength;
    const uint32_t covered = vnHeaderLength + packet.dataLength;
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
    const bool isSilent = drainLine() || waitsNoLonger;
    std::array<uint8_t, receiveRingCapacity> bytes{};
    const uint32_t buffered = received->count();
    received->peekRun(0, buffered, bytes.data());
    const std::span arrived(bytes.data(), buffered);
    const FrameSearch found =
        awaited ? findFrameInOrder(arrived, awaited, isSilent) : findAnyFrame(arrived);
    isHeld = found.result == FrameSearch::Result::Waiting;
    if (found.result == FrameSearch::Result::Frame) {
        fillPacket(packet, arrived.subspan(found.offset));
        const uint32_t length = packet.dataLength + vnFrameOverhead;
        packetReadNs = readMomentOf(found.offset + length - 1);
        skip(arrived, found.offset);
        if (listener != nullptr)
            listener->frameTaken(arrived.subspan(found.offset, length), packetReadNs);
        received->discard(length);
        return true;
    }
    const uint32_t kept = isHeld ? buffered : vnMaxFrameLength;
    skip(arrived, std::max(found.offset, buffered - std::min(buffered, kept)));
    lineIsDry = false;
    waitsNoLonger = false;
    return false;
}

bool vnPacketComs::drainLine()
{
    // Silence is tested before the line is read, so that a delay of this thread in between does not
    // count as silence.
    bool isSilent =
        awaited && !received->isEmpty() && serial->nowNs() - serial->lastReadNs() > silenceNs;
    std::array<uint8_t, readChunk> chunk{};
    while (!keepsUnreadOnLine ||
           (!lineIsDry && received->count() + readChunk <= receiveRingCapacity)) {
        uint32_t bytesRead = 0;
        serial->readData(chunk.data(), readChunk, bytesRead);
        lineIsDry = bytesRead < readChunk;
        if (bytesRead == 0)
            return isSilent;
        isSilent = false;
        buffer({chunk.data(), bytesRead});
    }
    return false;
}

void vnPacketComs::buffer(std::span<const uint8_t> bytes)
{
    const qint64 readNs = serial->lastReadNs();
    const uint32_t before = received->count();
    for (const uint8_t byte : bytes) {
        if (received->push(byte))
            readMoments[(received->head - 1) % receiveRingCapacity] = readNs;
    }
    const uint32_t fitted = received->count() - before;
    if (listener != nullptr && fitted < bytes.size())
        listener->bytesOverrun(bytes.subspan(fitted), readNs);
}

void vnPacketComs::skip(std::span<const uint8_t> arrived, uint32_t length)
{
    if (listener != nullptr && length > 0)
        listener->bytesSkipped(arrived.first(length), readMomentOf(length - 1));
    received->discard(length);
}

qint64 vnPacketComs::readMomentOf(uint32_t offset) const
{
    return readMoments[(received->tail + offset) % receiveRingCapacity];
}

#include "moc_vnPacketComs.cpp"
