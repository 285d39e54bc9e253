#pragma once

#include <cstddef>
#include <cstdint>

/** Largest number of data bytes in one packet. */
inline constexpr uint8_t vnMaxDataLength = 124;
/** Size in bytes of command and length, which precede the data. */
inline constexpr uint32_t vnHeaderLength = 2;
/** Bytes that a frame adds to its data: the header and two CRC bytes. */
inline constexpr uint32_t vnFrameOverhead = vnHeaderLength + 2;
/** Size in bytes of the largest frame. */
inline constexpr uint32_t vnMaxFrameLength = vnMaxDataLength + vnFrameOverhead;

/**
 * One packet, before framing or after unframing.
 *
 * `command`, `dataLength` and `data` have the same layout in memory as on the line, so the CRC is
 * computed over the record itself. The record has no default values: write `vnPacket packet{}` for
 * a zeroed one.
 */
struct vnPacket
{
    /**
     * Bits 7-6 are the packet type: 00 request to the module, 01 its reply (0x40 | request),
     * 10 a report it sends unasked, 11 its error reply (0xC0 | request). Bits 5-0 are the code.
     */
    uint8_t command;
    /** Number of valid bytes in `data`, 0 to `vnMaxDataLength`. */
    uint8_t dataLength;
    /** The payload. Bytes after `dataLength` are never sent. */
    uint8_t data[vnMaxDataLength];
    /** CRC of the frame in host byte order, set when the packet is sent or received. */
    uint16_t crc;
};

static_assert(offsetof(vnPacket, dataLength) == 1 && offsetof(vnPacket, data) == 2,
              "the CRC is computed over the record as if it were the frame");
