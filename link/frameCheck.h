#pragma once

#include <cstdint>
#include <span>

/**
 * Computes the CRC-16/X-25 of `bytes`: 0x0000 for no bytes, 0x906E for the ASCII digits 1 to 9. Any
 * thread.
 */
uint16_t frameCheck(std::span<const uint8_t> bytes);
