#pragma once

#include <QElapsedTimer>

/**
 * Tells how many bytes have had the time to pass over one direction of a line.
 *
 * The sum goes by the clock, so a late look at it makes up for itself; a line that idles saves up
 * nothing. Plain value; one thread at a time.
 */
class LinePacer
{
public:
    /** How often to look while the line is busy, in milliseconds. */
    static constexpr int tickMs = 5;

    /** `bitsPerSecond` at 11 bits a byte; 0 for a line that takes everything at once. */
    explicit LinePacer(int bitsPerSecond) : baudRate(bitsPerSecond) {}

    bool isPaced() const { return baudRate > 0; }
    /** The line has bytes to move from now on; nothing new while it is busy already. */
    void begin();
    /** The line has run dry. */
    void end() { clock.invalidate(); }
    /** Bytes that may move now. Call begin() first. */
    qsizetype allowance() const;
    /** That many have moved. */
    void spend(qsizetype bytes) { moved += bytes; }

private:
    int baudRate;
    qint64 moved = 0; ///< since begin()
    QElapsedTimer clock;
};
