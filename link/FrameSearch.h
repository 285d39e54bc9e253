#pragma once

#include <cstdint>
#include <functional>
#include <span>

/**
 * Where the next frame is in bytes that have arrived. Nothing marks a frame's start, so a search
 * goes through positions; a position can be the start of a frame, or prove wrong, or be cut off by
 * the end of what has arrived.
 */
struct FrameSearch
{
    enum class Result {
        Frame,   ///< a correct frame starts at `offset`
        Waiting, ///< none can be taken yet; what starts at `offset` may become one
        Nothing, ///< none; no byte in front of `offset` starts one, whatever follows
    };
    Result result;
    uint32_t offset;
};

/** How much bytes that have arrived look like a frame that the receiver's owner waits for. */
enum class Awaited {
    No,
    Perhaps, ///< too few bytes to be sure
    Surely,  ///< enough bytes to tell it from all others; all of them are as they should be
};
/**
 * Compares bytes, from a frame's possible start to the last one that has arrived, at least 1, with
 * the frames waited for. Command, length and data count; the CRC is not looked at.
 */
using AwaitedFrames = std::function<Awaited(std::span<const uint8_t> bytes)>;

/**
 * The first correct frame; a position whose frame is not complete is passed over. Never Waiting.
 * A frame of which only a part has arrived is therefore hidden where that part happens to contain
 * a correct one: one position in 65,536 has a correct CRC.
 */
FrameSearch findAnyFrame(std::span<const uint8_t> bytes);

/**
 * The first frame in the order of the stream: where a position's frame is not complete, nothing
 * behind it is taken, unless `isSilent`: then such positions are passed over.
 *
 * An awaited frame is stronger than that. Positions whose frame would reach into it are wrong, so
 * it is taken as soon as it is complete, once the frames in front of it are. While it is not, it is
 * waited for in silence, too, if it is surely one; if it is perhaps one, no frame that reaches into
 * it is taken before silence.
 */
FrameSearch findFrameInOrder(std::span<const uint8_t> bytes, const AwaitedFrames& awaited,
                             bool isSilent);

/** CRC-16/X-25, the check of a frame: 0x0000 of no bytes, 0x906E of the ASCII digits 1 to 9. Any
 * thread. */
uint16_t frameCheck(std::span<const uint8_t> bytes);
