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
        if (frameAt(start))
            return take(start);
    }
    if (bytes.size() > 128)
        bytes.erase(bytes.begin(), bytes.end() - 128);
    return std::nullopt;
}

std::optional<ReceiveModel::Frame> ReceiveModel::take(size_t start)
{
    const std::optional<Frame> frame = frameAt(start);
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(endOf(start)));
    return frame;
}

std::optional<ReceiveModel::Frame> ReceiveModel::waitFor(size_t start)
{
    waits = true;
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(start));
    return std::nullopt;
}

std::optional<ReceiveModel::Frame>
ReceiveModel::receiveInOrder(const std::vector<std::vector<uint8_t>>& awaited, bool isSilent)
{
    waits = false;
    std::vector<size_t> sure;
    std::vector<size_t> perhaps;
    std::vector<size_t> open;
    std::vector<size_t> whole;
    for (size_t start = 0; start < bytes.size(); ++start) {
        const bool isOpen = endOf(start) > bytes.size();
        const bool isWhole = frameAt(start).has_value();
        const size_t known = isOpen || isWhole ? awaitedBytes(start, awaited) : 0;
        if (known >= 10)
            sure.push_back(start);
        else if (known > 0)
            perhaps.push_back(start);
        if (isOpen)
            open.push_back(start);
        if (isWhole)
            whole.push_back(start);
    }
    if (!sure.empty()) {
        const auto reachesIntoIt = [&](size_t start) { return endOf(start) > sure[0]; };
        std::erase_if(open, reachesIntoIt);
        std::erase_if(whole, reachesIntoIt);
        std::erase_if(perhaps, [&](size_t start) { return start > sure[0]; });
    }
    const size_t next = whole.empty() ? bytes.size() : whole[0];
    if (!isSilent && !open.empty() && open[0] < next)
        return waitFor(open[0]);
    if (!whole.empty()) {
        const bool isRisky = !perhaps.empty() && endOf(next) > perhaps[0];
        return isRisky && !isSilent ? waitFor(next) : take(next);
    }
    if (!sure.empty())
        return frameAt(sure[0]) ? take(sure[0]) : waitFor(sure[0]);
    const size_t kept = open.empty() ? bytes.size() : open[0];
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(kept));
    return std::nullopt;
}

size_t ReceiveModel::endOf(size_t start) const
{
    if (start + 1 >= bytes.size())
        return bytes.size() + 1;
    return bytes[start + 1] > 124 ? 0 : start + bytes[start + 1] + 4;
}

size_t ReceiveModel::awaitedBytes(size_t start,
                                  const std::vector<std::vector<uint8_t>>& awaited) const
{
    size_t most = 0;
    for (const std::vector<uint8_t>& frame : awaited) {
        const size_t told = std::min(bytes.size() - start, frame.size() - 2); // without its CRC
        if (std::equal(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(told),
                       bytes.begin() + static_cast<ptrdiff_t>(start)))
            most = std::max(most, told);
    }
    return most;
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
