#pragma once

#include <QtGlobal>

#include <cstdint>
#include <span>

/**
 * A vnPacketComs tells it what became of each byte read from the line. Every byte is told exactly
 * once or is still buffered. Frames and skipped bytes come in the order of the stream.
 *
 * Threads: all calls come inside receivePacket(), on its thread, which waits meanwhile. The bytes
 * are gone when a call returns. Moments are those of the reads, by the line's clock in nanoseconds.
 */
class ByteListener
{
public:
    ByteListener() = default;
    virtual ~ByteListener() = default;
    ByteListener(const ByteListener&) = delete;
    ByteListener& operator=(const ByteListener&) = delete;

    /** A correct frame was taken, CRC included; `readNs` is the moment of its last byte. */
    virtual void frameTaken(std::span<const uint8_t> frame, qint64 readNs) = 0;
    /**
     * Bytes that belong to no frame; `readNs` is the moment of the last one. Bytes that follow one
     * another may be told in several calls.
     */
    virtual void bytesSkipped(std::span<const uint8_t> bytes, qint64 readNs) = 0;
    /**
     * Bytes for which the buffer had no room. They are told at once, ahead of those that are
     * buffered still.
     */
    virtual void bytesOverrun(std::span<const uint8_t> bytes, qint64 readNs) = 0;
};
