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
    /**
     * The first frame in the order of the stream; everything up to its end is gone then, and
     * without one what can start no frame. `awaited` has whole frames. One of 8 data bytes or more
     * is surely awaited once 10 bytes of it are there.
     */
    std::optional<Frame> receiveInOrder(const std::vector<std::vector<uint8_t>>& awaited,
                                        bool isSilent);
    /** Whether the last receiveInOrder() found none for bytes that may become one. */
    bool isWaiting() const { return waits; }
    const std::vector<uint8_t>& buffered() const { return bytes; }

    /** CRC-16/X-25, bit by bit. */
    static uint16_t checksum(std::span<const uint8_t> covered);

    static constexpr size_t capacity = 1240;

private:
    std::optional<Frame> frameAt(size_t start) const;
    /** Where the frame that starts there ends, which may be behind all bytes; 0 for an impossible.
     */
    size_t endOf(size_t start) const;
    /** Bytes at `start` that are an awaited frame's; 0 as soon as one differs. */
    size_t awaitedBytes(size_t start, const std::vector<std::vector<uint8_t>>& awaited) const;
    std::optional<Frame> take(size_t start);
    std::optional<Frame> waitFor(size_t start);

    std::vector<uint8_t> bytes; ///< oldest first
    bool waits = false;
};
