#pragma once

#include "link/FrameSearch.h"
#include "link/vnPacket.h"

#include <QObject>

#include <cstdint>
#include <utility>
#include <vector>

class ByteListener;
class vnSerialComs;
struct RingBuffer;

/**
 * The packet layer: frames packets onto a serial line and finds them in what comes back.
 *
 * A frame is command, data length, 0 to 124 data bytes and a CRC-16/X-25 of all that, low byte
 * first; docs/protocol.md has the grammar. Nothing marks a frame's start. Made by itself the
 * receiver tries every position and takes what is a correct frame first; readInOrder() has it wait
 * for frames that are still arriving.
 *
 * Threads: receivePacket() belongs to one thread; sendPacket() may run on another. Neither
 * allocates memory or waits for incoming bytes.
 */
class vnPacketComs : public QObject
{
    Q_OBJECT

public:
    /** `line` is not owned and must outlive this object's last send or receive. */
    vnPacketComs(QObject* parent, vnSerialComs* line);
    ~vnPacketComs() override;

    /**
     * Frames and writes `packet` in one piece. A data length above 124 becomes 124, in the record
     * too, and the record's `crc` becomes the one sent. False when the line did not take the whole
     * frame; the line's lastError() has the reason.
     */
    bool sendPacket(vnPacket& packet);

    /**
     * Takes in every byte that the line has ready, then removes the first correct frame from what
     * is buffered, along with all bytes in front of it.
     *
     * True with the frame in `packet`; its data bytes past the data length read 0x99. False when no
     * complete correct frame is buffered: `packet` is then undefined, and all but the newest 128
     * bytes are forgotten. Call it until it returns false: frames that arrived together are
     * returned one a call. The buffer holds 1240 bytes; what arrives above that in one go is lost.
     */
    bool receivePacket(vnPacket& packet);

    /**
     * When the read that brought the last byte of the packet last received had returned, by the
     * line's clock in nanoseconds; 0 before the first packet.
     */
    qint64 lastPacketReadNs() const { return packetReadNs; }

    /**
     * From now on receivePacket() leaves on the line what the buffer has no room for, instead of
     * losing it, and asks a line that has run dry no more until it has returned false. More may
     * then be waiting there when it does.
     */
    void keepUnreadOnLine() { keepsUnreadOnLine = true; }

    /**
     * From now on receivePacket() reads as findFrameInOrder() does, with these frames awaited. The
     * line is silent once it has had nothing for longer than silenceNs. Bytes that can start no
     * frame are forgotten at once; a false result leaves at most 255 buffered. `frames` is called
     * on the receiving thread, inside receivePacket(), up to once a buffered byte.
     */
    void readInOrder(AwaitedFrames frames) { awaited = std::move(frames); }
    /**
     * Whether the last receivePacket() returned false for a frame that may still be arriving. Call
     * it again once more bytes have come, or silence.
     */
    bool isWaiting() const { return isHeld; }
    /** From now on `bytes` is told of every byte; not owned. Null, as at first: nobody is. */
    void tell(ByteListener* bytes) { listener = bytes; }
    /** Bytes that receivePacket() has read and neither taken as a frame nor forgotten. */
    uint32_t bufferedBytes() const;

    /** Up to its next false result receivePacket() reads as in silence. */
    void waitNoLonger() { waitsNoLonger = true; }

    /**
     * No two bytes of a frame lie further apart than this: twice what the slowest line (a byte
     * takes 9.2 ms at 1200 baud) and an adapter that gathers bytes (for 16 ms) come to.
     */
    static constexpr qint64 silenceNs = 50'000'000;

    /** Writes `length` bytes as they are, without framing; result as of vnSerialComs::writeData. */
    bool writeRaw(const uint8_t* bytes, uint32_t length);

    /** CRC-16/X-25 of `length` bytes; 0x0000 for none, 0x906E for the ASCII digits 1 to 9. */
    static uint16_t calculateCRC(const uint8_t* bytes, uint16_t length);

    /**
     * The text of an error code, which is the first data byte of an error reply; a code that the
     * protocol does not name gets the text of 0x01. Never null; points into a constant table. Any
     * thread.
     */
    static const char* errorText(uint32_t code);
    /** The name of interface 0 to 4; null for every other id. Points into a constant table. */
    static const char* interfaceName(int id);

private:
    /** Whether the line was asked, had nothing, and had been silent already. */
    bool drainLine();
    void buffer(std::span<const uint8_t> bytes);
    /** Forgets the `length` oldest bytes. `arrived` is all that is buffered. */
    void skip(std::span<const uint8_t> arrived, uint32_t length);
    qint64 readMomentOf(uint32_t offset) const;

    vnSerialComs* serial;
    RingBuffer* received; ///< owned: created in the constructor, destroyed in the destructor
    std::vector<qint64> readMoments; ///< of each byte in the ring's storage
    qint64 packetReadNs = 0;
    bool keepsUnreadOnLine = false;
    bool lineIsDry = false; ///< since the last false result
    AwaitedFrames awaited;  ///< empty: reads at every position
    bool isHeld = false;
    bool waitsNoLonger = false;
    ByteListener* listener = nullptr; ///< not owned
};
