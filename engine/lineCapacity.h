#pragma once

#include "engine/timing/TestConfig.h"
#include "link/lineRates.h"

#include <QString>

struct TestStats;

/** How a run uses the line besides what its TestConfig says. */
struct LineUse
{
    /** Pings come every 1000 / rate ms, rounded down to whole milliseconds; else at the very rate.
     */
    bool wholeMilliseconds = true;
    bool writesScreen = true; ///< the counters go to the module's screen every second
};

/** Bytes of a ping's frame on average over all payload sizes that `config` lets the engine draw. */
double meanFrameBytes(const TestConfig& config);

/** Pings a second that the engine aims at; `wholeMilliseconds` as in LineUse. */
double attemptedRate(const TestConfig& config, bool wholeMilliseconds);

/** Bytes that one renewal of the module's screen takes, a second's worth, or is answered with. */
struct ScreenTraffic
{
    int toModule = 0;
    int fromModule = 0;
};

/** That of a renewal in the middle of a run, which shows `stats`. */
ScreenTraffic screenTraffic(const TestStats& stats);

/** How many of 100 bits that the line can carry in a direction `bytesPerSecond` take. */
double lineSharePercent(double bytesPerSecond, int baudRate);

/**
 * The arithmetic, in one line, when the pings of `config`, and with them the module's screen, need
 * more than a line of `baudRate` bits per second carries; empty when they fit. The screen is taken
 * as it is at the end of the run, or of the longest run that can be asked for, when none was lost.
 */
QString capacityWarning(const TestConfig& config, int baudRate, const LineUse& use);
