#include "link/FrameSearch.h"

#include "link/vnPacket.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<uint16_t, 256> makeCrcTable()
{
    constexpr uint16_t reflectedPolynomial = 0x8408;
    std::array<uint16_t, 256> table{};
    for (uint32_t value = 0; value < table.size(); ++value) {
        auto crc = static_cast<uint16_t>(value);
        for (int bit = 0; bit < 8; ++bit) {
            const bool carry = (crc & 1U) != 0;
            crc = static_cast<uint16_t>((crc >> 1U) ^ (carry ? reflectedPolynomial : 0U));
        }
        table[value] = crc;
    }
    return table;
}

constexpr std::array<uint16_t, 256> crcTable = makeCrcTable();
static_assert(crcTable[1] == 0x1189 && crcTable[2] == 0x2312 && crcTable[128] == 0x8408);

enum class Candidate { Wrong, Incomplete, Correct };

/** Tests whether a frame starts at the first of `bytes`. */
Candidate examine(std::span<const uint8_t> bytes)
{
    if (bytes.size() < 2)
        return Candidate::Incomplete;
    const uint8_t dataLength = bytes[1];
    if (dataLength > vnMaxDataLength)
        return Candidate::Wrong;
    if (bytes.size() < dataLength + vnFrameOverhead)
        return Candidate::Incomplete;
    const uint32_t covered = dataLength + vnHeaderLength;
    const uint32_t check = bytes[covered] | uint32_t{bytes[covered + 1]} << 8U;
    return frameCheck(bytes.first(covered)) == check ? Candidate::Correct : Candidate::Wrong;
}

/** Offsets of the awaited frames. */
struct AwaitedPlaces
{
    uint32_t sure;    ///< first frame that is surely awaited; the number of bytes: none
    uint32_t perhaps; ///< first frame that is perhaps awaited; the number of bytes: none
};

AwaitedPlaces locate(std::span<const uint8_t> bytes, const AwaitedFrames& awaited)
{
    const auto size = static_cast<uint32_t>(bytes.size());
    AwaitedPlaces places{size, size};
    for (uint32_t offset = 0; offset < size; ++offset) {
        const std::span<const uint8_t> rest = bytes.subspan(offset);
        const Awaited match = awaited(rest);
        if (match == Awaited::No || examine(rest) == Candidate::Wrong)
            continue;
        if (match == Awaited::Surely)
            return {offset, places.perhaps};
        if (places.perhaps == size)
            places.perhaps = offset;
    }
    return places;
}

} // namespace

FrameSearch findAnyFrame(std::span<const uint8_t> bytes)
{
    const auto size = static_cast<uint32_t>(bytes.size());
    for (uint32_t offset = 0; offset + vnFrameOverhead <= size; ++offset) {
        if (examine(bytes.subspan(offset)) == Candidate::Correct)
            return {FrameSearch::Result::Frame, offset};
    }
    return {FrameSearch::Result::Nothing, 0};
}

FrameSearch findFrameInOrder(std::span<const uint8_t> bytes, const AwaitedFrames& awaited,
                             bool isSilent)
{
    using Result = FrameSearch::Result;
    const auto [sure, perhaps] = locate(bytes, awaited);
    uint32_t firstOpen = sure;
    for (uint32_t offset = 0; offset < sure; ++offset) {
        // A frame that would overlap an awaited frame is wrong.
        const Candidate candidate = examine(bytes.subspan(offset, sure - offset));
        if (candidate == Candidate::Correct) {
            const bool mayHide = offset + bytes[offset + 1] + vnFrameOverhead > perhaps;
            return {mayHide && !isSilent ? Result::Waiting : Result::Frame, offset};
        }
        if (candidate == Candidate::Wrong || sure < bytes.size())
            continue;
        if (!isSilent)
            return {Result::Waiting, offset};
        firstOpen = std::min(firstOpen, offset);
    }
    if (sure == bytes.size())
        return {Result::Nothing, firstOpen};
    const bool isComplete = examine(bytes.subspan(sure)) == Candidate::Correct;
    return {isComplete ? Result::Frame : Result::Waiting, sure};
}

uint16_t frameCheck(std::span<const uint8_t> bytes)
{
    uint32_t crc = 0xFFFF;
    for (const uint8_t byte : bytes)
        crc = (crc >> 8U) ^ crcTable[(crc ^ byte) & 0xFFU];
    return static_cast<uint16_t>(crc ^ 0xFFFFU);
}
