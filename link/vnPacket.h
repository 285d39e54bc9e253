#pragma once

#include <cstddef>
#include <cstdint>

/** Most data bytes that one packet carries. */
inline constexpr uint8_t vnMaxDataLength = 124;
/** Command and length, in front of the data. */
inline constexpr uint32_t vnHeaderLength = 2;
/** What a frame adds to its data: the header and two CRC bytes. */
inline constexpr uint32_t vnFrameOverhead = vnHeaderLength + 2;
/** Size in bytes of the largest frame. */
inline constexpr uint32_t vnMaxFrameLength = vnMaxDataLength + vnFrameOverhead;

/**
 * One packet, before framing or after it.
 *
 * `command`, `dataLength` and `data` lie in memory as they do on the line, so the CRC runs over the
 * record itself. The record has no default values: write `vnPacket packet{}` for a zeroed one.
 */
struct vnPacket
{
    /**
     * Bits 7-6 are the packet type: 00 request to the module, 01 its reply (0x40 | request),
     * 10 a report it sends unasked, 11 its error reply (0xC0 | request). Bits 5-0 are the code.
     */
    uint8_t command;
    /** How many bytes of `data` count, 0 to `vnMaxDataLength`. */
    uint8_t dataLength;
    /** The payload; what lies past `dataLength` never reaches the line. */
    uint8_t data[vnMaxDataLength];
    /** CRC of the frame in host byte order, set by whoever last sent or received the packet. */
    uint16_t crc;
};

static_assert(offsetof(vnPacket, dataLength) == 1 && offsetof(vnPacket, data) == 2,
              "the CRC is computed over the record as if it were the frame");
