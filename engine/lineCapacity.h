#pragma once

#include "engine/timing/TestConfig.h"
#include "link/lineRates.h"

#include <QString>

struct TestStats;

/** How a run uses the line, beside its TestConfig. */
struct LineUse
{
    /**
     * True: the ping interval is 1000 / rate, rounded down to whole milliseconds. False: the rate
     * is exact.
     */
    bool wholeMilliseconds = true;
    bool writesScreen = true; ///< the counters go to the module's screen every second
};

/** Mean size in bytes of a ping's frame, over all payload sizes that `config` allows. */
double meanFrameBytes(const TestConfig& config);

/** Pings per second that the engine tries to send; `wholeMilliseconds` as in LineUse. */
double attemptedRate(const TestConfig& config, bool wholeMilliseconds);

/** Bytes sent and received when the module's screen is written once, which happens every second. */
struct ScreenTraffic
{
    int toModule = 0;
    int fromModule = 0;
};

/** Returns the traffic of writing the screen during a run with `stats`. */
ScreenTraffic screenTraffic(const TestStats& stats);

/**
 * Returns the share of the line's capacity in one direction that `bytesPerSecond` use, in percent.
 */
double lineSharePercent(double bytesPerSecond, int baudRate);

/**
 * Returns a calculation in one line if the pings of `config` and the writing of the module's screen
 * need more than a line of `baudRate` bits per second can carry; empty if they fit. The screen's
 * traffic is that at the end of the run without losses; a run without a limit counts as the longest
 * one allowed.
 */
QString capacityWarning(const TestConfig& config, int baudRate, const LineUse& use);
