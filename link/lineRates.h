#pragma once

#include <array>

/** The baud rates that a port can be opened with, in bits per second, lowest first. */
inline constexpr std::array baudRates{1200, 1800, 2400, 4800, 9600, 19200, 38400, 115200};

inline constexpr int usualBaudRate = 115200;

/** Bits per byte on the line: start bit, 8 data bits, 2 stop bits. */
inline constexpr int bitsPerByte = 11;
