#pragma once

#include <QElapsedTimer>

/**
 * Tells how many bytes may have passed in one direction of a line with a given rate.
 *
 * The number is computed from the clock, so a late check loses nothing. An idle line saves up
 * nothing. Value type; one thread at a time.
 */
class LinePacer
{
public:
    /** Interval of checks while the line is busy, in milliseconds. */
    static constexpr int tickMs = 5;

    /** `bitsPerSecond` with 11 bits per byte; 0: no limit. */
    explicit LinePacer(int bitsPerSecond) : baudRate(bitsPerSecond) {}

    bool isPaced() const { return baudRate > 0; }
    /** The line starts moving bytes now. Does nothing if it is busy already. */
    void begin();
    /** The line has no bytes to move now. */
    void end() { clock.invalidate(); }
    /** Number of bytes that may move now. Call begin() first. */
    qsizetype allowance() const;
    /** Counts `bytes` as moved. */
    void spend(qsizetype bytes) { moved += bytes; }

private:
    int baudRate;
    qint64 moved = 0; ///< since begin()
    QElapsedTimer clock;
};
