#pragma once

#include <QByteArray>

#include <optional>

/** A packet from a correct frame. */
struct ReceivedPacket
{
    quint8 command;
    QByteArray data; ///< 0 to 124 bytes
};

/**
 * Finds frames in the bytes that a module receives. Value type; one thread at a time.
 *
 * Nothing marks a frame's start, so each byte may start a frame until its length or CRC proves
 * otherwise. While the line is busy, an unfinished frame is waited for, because its payload may
 * contain bytes that look like a frame. Once the line is quiet, the rest may never come, so the
 * bytes after its first one are searched too.
 */
class RequestParser
{
public:
    enum class Line { Busy, Quiet };

    void feed(const QByteArray& bytes);

    /**
     * Removes and returns the first correct frame and discards all bytes before it; no value when
     * there is none yet. Then at most 127 bytes are kept, the possible start of a frame.
     */
    std::optional<ReceivedPacket> next(Line line);

    /** Whether bytes are kept that may start a frame. */
    bool isWaiting() const { return !buffer.isEmpty(); }

private:
    enum class Candidate { Wrong, Unfinished, Correct };
    Candidate candidateAt(qsizetype offset) const;
    ReceivedPacket take(qsizetype offset);

    QByteArray buffer;
};
