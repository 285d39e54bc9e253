#pragma once

#include <cstdint>
#include <span>

/** CRC-16/X-25; 0x0000 of no bytes, 0x906E of the ASCII digits 1 to 9. Any thread. */
uint16_t frameCheck(std::span<const uint8_t> bytes);
