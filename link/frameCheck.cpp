#include "link/frameCheck.h"

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

} // namespace

uint16_t frameCheck(std::span<const uint8_t> bytes)
{
    uint32_t crc = 0xFFFF;
    for (const uint8_t byte : bytes)
        crc = (crc >> 8U) ^ crcTable[(crc ^ byte) & 0xFFU];
    return static_cast<uint16_t>(crc ^ 0xFFFFU);
}
