#pragma once

#include <cstdint>
#include <functional>
#include <span>

/**
 * Result of a search for the next frame in bytes that have arrived. Nothing marks a frame's start,
 * so a search tests each position. A position may start a correct frame, be wrong, or be incomplete
 * because too few bytes have arrived.
 */
struct FrameSearch
{
    enum class Result {
        Frame,   ///< a correct frame starts at `offset`
        Waiting, ///< no frame can be taken yet; the bytes from `offset` on may become one
        Nothing, ///< no frame; no byte before `offset` can start one, whatever follows
    };
    Result result;
    uint32_t offset;
};

/** Whether bytes that have arrived match a frame that the receiver's owner waits for. */
enum class Awaited {
    No,
    Perhaps, ///< too few bytes to be sure
    Surely,  ///< enough bytes to identify the frame; all of them match
};
/**
 * Compares `bytes` with the frames waited for. `bytes`, at least 1, run from a possible start of a
 * frame to the last byte that has arrived. Compares command, length and data, but not the CRC.
 */
using AwaitedFrames = std::function<Awaited(std::span<const uint8_t> bytes)>;

/**
 * Finds the first correct frame and skips incomplete positions. Never returns Waiting. A correct
 * frame inside the arrived part of an incomplete frame is therefore taken in its place; at one
 * position in 65,536 the CRC is correct by chance.
 */
FrameSearch findAnyFrame(std::span<const uint8_t> bytes);

/**
 * Finds the first frame in stream order: no frame after an incomplete position is taken, unless
 * `isSilent` is true; then incomplete positions are skipped.
 *
 * An awaited frame has priority. Positions whose frame would overlap it are wrong, so it is taken
 * once it is complete and the frames before it have been taken. If it is incomplete and surely
 * awaited, it is waited for even in silence. If it is perhaps awaited, no frame that overlaps it is
 * taken before silence.
 */
FrameSearch findFrameInOrder(std::span<const uint8_t> bytes, const AwaitedFrames& awaited,
                             bool isSilent);

/**
 * Computes the check of a frame, the CRC-16/X-25 of `bytes`: 0x0000 for no bytes, 0x906E for the
 * ASCII digits 1 to 9. Any thread.
 */
uint16_t frameCheck(std::span<const uint8_t> bytes);
