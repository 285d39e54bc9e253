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
 * The packet layer: sends packets as frames on a serial line and finds frames in the received
 * bytes.
 *
 * A frame is command, data length, 0 to 124 data bytes and a CRC-16/X-25 of all these, low byte
 * first; docs/protocol.md has the grammar. Nothing marks a frame's start. By default the receiver
 * tests every position and takes the first correct frame. After readInOrder() it waits for frames
 * that are still arriving.
 *
 * Threads: call receivePacket() on one thread; sendPacket() may run on another. Neither allocates
 * memory or waits for incoming bytes.
 */
class vnPacketComs : public QObject
{
    Q_OBJECT

public:
    /** `line` is not owned and must outlive this object's last send or receive. */
    vnPacketComs(QObject* parent, vnSerialComs* line);
    ~vnPacketComs() override;

    /**
     * Sends `packet` as one frame in a single write. A data length above 124 is changed to 124 in
     * the record, and the record's `crc` is set to the one sent. False when the line did not take
     * the whole frame; the line's lastError() tells why.
     */
    bool sendPacket(vnPacket& packet);

    /**
     * Reads all bytes that are ready on the line, then removes the first correct frame from the
     * buffer, with all bytes before it.
     *
     * True: the frame is in `packet`; its data bytes after the data length are 0x99. False: no
     * complete correct frame is buffered, `packet` is undefined, and all but the newest 128 bytes
     * are discarded. Call it until it returns false, because it returns one frame per call. The
     * buffer holds 1240 bytes; bytes beyond that in one call are lost.
     */
    bool receivePacket(vnPacket& packet);

    /**
     * Time when the read that returned the last byte of the last received packet ended, by the
     * line's clock in nanoseconds; 0 before the first packet.
     */
    qint64 lastPacketReadNs() const { return packetReadNs; }

    /**
     * From now on, receivePacket() leaves bytes on the line when the buffer is full, instead of
     * losing them. Once the line has no more bytes, it is not read again before the next false
     * result. After a false result, bytes may still be waiting on the line.
     */
    void keepUnreadOnLine() { keepsUnreadOnLine = true; }

    /**
     * From now on, receivePacket() searches with findFrameInOrder() and these awaited frames. The
     * line is silent when it has had no bytes for longer than silenceNs. Bytes that cannot start a
     * frame are discarded at once; after a false result at most 255 bytes are buffered. `frames` is
     * called on the receiving thread, inside receivePacket(), up to once per buffered byte.
     */
    void readInOrder(AwaitedFrames frames) { awaited = std::move(frames); }
    /**
     * Whether the last receivePacket() returned false because a frame may still be arriving. Call
     * it again when more bytes have come or the line is silent.
     */
    bool isWaiting() const { return isHeld; }
    /** From now on `bytes` is told of every byte that is read. Not owned; null: nobody is told. */
    void tell(ByteListener* bytes) { listener = bytes; }

    /** Until its next false result, receivePacket() treats the line as silent. */
    void waitNoLonger() { waitsNoLonger = true; }

    /**
     * Longest time between two bytes of a frame: twice the sum of a byte's time on the slowest line
     * (9.2 ms at 1200 baud) and the time for which an adapter may collect bytes (16 ms).
     */
    static constexpr qint64 silenceNs = 50'000'000;

    /** Writes `length` bytes without framing; result as in vnSerialComs::writeData(). */
    bool writeRaw(const uint8_t* bytes, uint32_t length);

    /**
     * Computes the CRC-16/X-25 of `length` bytes: 0x0000 for none, 0x906E for the ASCII digits 1 to
     * 9.
     */
    static uint16_t calculateCRC(const uint8_t* bytes, uint16_t length);

    /**
     * Returns the text of an error code, which is the first data byte of an error reply. An unknown
     * code gets the text of 0x01. Never null; points into a constant table. Any thread.
     */
    static const char* errorText(uint32_t code);
    /** Returns the name of interface 0 to 4; null for other ids. Points into a constant table. */
    static const char* interfaceName(int id);

private:
    /**
     * Reads bytes from the line into the buffer. True when the line was read, had no bytes, and had
     * already been silent before.
     */
    bool drainLine();
    void buffer(std::span<const uint8_t> bytes);
    /** Removes the `length` oldest bytes from the buffer, whose content is `arrived`. */
    void skip(std::span<const uint8_t> arrived, uint32_t length);
    qint64 readMomentOf(uint32_t offset) const;

    vnSerialComs* serial;
    RingBuffer* received;            ///< owned; deleted in the destructor
    std::vector<qint64> readMoments; ///< read time of each byte in the ring's storage
    qint64 packetReadNs = 0;
    bool keepsUnreadOnLine = false;
    bool lineIsDry = false; ///< the line had no more bytes since the last false result
    AwaitedFrames awaited;  ///< empty: findAnyFrame() is used
    bool isHeld = false;
    bool waitsNoLonger = false;
    ByteListener* listener = nullptr; ///< not owned
};
