#pragma once

#include "engine/TestConfig.h"

#include <QString>

/** What a byte takes on the line: start bit, 8 data bits, 2 stop bits. */
inline constexpr int bitsPerByte = 11;

/** Bytes of a ping's frame on average over all payload sizes that `config` lets the engine draw. */
double meanFrameBytes(const TestConfig& config);

/** Pings a second that the engine aims at: its interval is a whole number of milliseconds. */
double attemptedRate(const TestConfig& config);

/** How many of 100 bits that the line can carry in a direction `bytesPerSecond` take. */
double lineSharePercent(double bytesPerSecond, int baudRate);

/**
 * The arithmetic, in one line, when the pings of `config` need more than a line of `baudRate` bits
 * per second carries; empty when they fit. The module's screen refresh is left out of account.
 */
QString capacityWarning(const TestConfig& config, int baudRate);
