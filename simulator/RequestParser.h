#pragma once

#include <QByteArray>

#include <optional>

/** A packet out of a correct frame. */
struct ReceivedPacket
{
    quint8 command;
    QByteArray data; ///< 0 to 124 bytes
};

/**
 * Finds frames in the bytes that a module receives. Plain value; one thread at a time.
 *
 * Nothing marks a frame's start, so each byte may be one until its length or its CRC proves
 * otherwise. While the line is busy an unfinished frame is waited for: its payload may hold bytes
 * that look like a frame. Once the line is quiet the rest of it may never come, and what lies
 * behind its first byte is searched as well.
 */
class RequestParser
{
public:
    enum class Line { Busy, Quiet };

    void feed(const QByteArray& bytes);

    /**
     * Removes the first correct frame and all in front of it; nothing when there is none yet.
     * At most 127 bytes, the possible start of a frame, are kept after an empty result.
     */
    std::optional<ReceivedPacket> next(Line line);

    /** True when bytes are kept that may be the start of a frame. */
    bool isWaiting() const { return !buffer.isEmpty(); }

private:
    enum class Candidate { Wrong, Unfinished, Correct };
    Candidate candidateAt(qsizetype offset) const;
    ReceivedPacket take(qsizetype offset);

    QByteArray buffer;
};
