#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/**
 * The receiver's rules a second time, written to be read instead of to be fast; shares no code with
 * the receiver, so that a slip in one of them shows.
 */
class ReceiveModel
{
public:
    struct Frame
    {
        uint8_t command;
        uint8_t dataLength;
        std::array<uint8_t, 124> data; ///< 0x99 past `dataLength`
        uint16_t crc;
    };

    /** Bytes that come in before the next receive(); those that do not fit are lost. */
    void arrive(std::span<const uint8_t> bytes);
    /** The first frame; everything up to its end is gone then. Without one, only a tail is kept. */
    std::optional<Frame> receive();
    const std::vector<uint8_t>& buffered() const { return bytes; }

    /** CRC-16/X-25, bit by bit. */
    static uint16_t checksum(std::span<const uint8_t> covered);

    static constexpr size_t capacity = 1240;

private:
    std::optional<Frame> frameAt(size_t start) const;

    std::vector<uint8_t> bytes; ///< oldest first
};
