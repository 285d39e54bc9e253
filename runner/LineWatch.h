#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

/**
 * Tells when a line is lost: every ping for longer than the time-out could not be sent.
 *
 * The engine reports each failed send with the ping's sequence id, and a failed send uses up its id
 * too. Ids that follow one another therefore mean that nothing was sent in between.
 */
class LineWatch
{
public:
    explicit LineWatch(int timeoutMs) : toleranceMs(timeoutMs) {}

    /**
     * Takes note of one line of the engine, which came at `nowMs` of any clock that runs steadily.
     * True when it is the failed send with which the line counts as lost, and with each later one
     * of the same row.
     */
    bool isLostWith(const QString& message, qint64 nowMs);

private:
    int toleranceMs;
    std::optional<quint64> lastFailedId;
    qint64 failingSinceMs = 0;
};
