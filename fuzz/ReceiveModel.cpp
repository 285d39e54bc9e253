#include "fuzz/ReceiveModel.h"

#include <algorithm>

void ReceiveModel::arrive(std::span<const uint8_t> arrived)
{
    const size_t fitting = std::min(arrived.size(), capacity - bytes.size());
    bytes.insert(bytes.end(), arrived.begin(), arrived.begin() + static_cast<ptrdiff_t>(fitting));
}

std::optional<ReceiveModel::Frame> ReceiveModel::receive()
{
    for (size_t start = 0; start < bytes.size(); ++start) {
        const std::optional<Frame> frame = frameAt(start);
        if (frame) {
            const size_t end = start + 2 + frame->dataLength + 2;
            bytes.erase(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(end));
            return frame;
        }
    }
    if (bytes.size() > 128)
        bytes.erase(bytes.begin(), bytes.end() - 128);
    return std::nullopt;
}

std::optional<ReceiveModel::Frame> ReceiveModel::frameAt(size_t start) const
{
    const auto candidate = std::span(bytes).subspan(start);
    if (candidate.size() < 4 || candidate[1] > 124)
        return std::nullopt;
    const size_t dataLength = candidate[1];
    if (candidate.size() < 2 + dataLength + 2)
        return std::nullopt;

    const auto crc =
        static_cast<uint16_t>(candidate[2 + dataLength] + 256 * candidate[3 + dataLength]);
    if (checksum(candidate.first(2 + dataLength)) != crc)
        return std::nullopt;
    Frame frame{candidate[0], candidate[1], {}, crc};
    frame.data.fill(0x99);
    std::copy_n(candidate.begin() + 2, dataLength, frame.data.begin());
    return frame;
}

uint16_t ReceiveModel::checksum(std::span<const uint8_t> covered)
{
    uint32_t remainder = 0xFFFF;
    for (const uint8_t byte : covered) {
        remainder ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder >> 1U) ^ ((remainder & 1U) * 0x8408U);
    }
    return static_cast<uint16_t>(~remainder);
}
