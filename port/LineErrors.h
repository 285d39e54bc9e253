#pragma once

#include "port/countedErrors.h"

#include <QJsonValue>
#include <QString>

#include <optional>

/** Faults that the kernel has counted on a line, since it set the line up unless said otherwise. */
struct LineErrorCounts
{
    quint32 framing = 0;
    quint32 parity = 0;
    quint32 overrun = 0;
    quint32 lineBreak = 0;
    quint32 bufferOverrun = 0;

    bool operator==(const LineErrorCounts&) const = default;
};

/** What came between two readings, the counters running over at 2^32. */
LineErrorCounts countedBetween(const LineErrorCounts& start, const LineErrorCounts& end);

/**
 * Counts the faults of one line for as long as it lives, with a descriptor of its own that leaves
 * the line's settings, locks and bytes alone. One thread.
 */
class LineErrors
{
public:
    /**
     * Begins to count on the device `path`, which should be open already: opening raises DTR.
     * `countedKinds`: what its driver counts.
     */
    LineErrors(const QString& path, CountedErrors countedKinds);
    ~LineErrors();
    LineErrors(const LineErrors&) = delete;
    LineErrors& operator=(const LineErrors&) = delete;

    /**
     * Faults since construction: an object with `framing`, `parity`, `overrun`, `break` and
     * `bufferOverrun`. A count of 0 of a kind that the driver does not always count is null. Null
     * as a whole when all are, when the driver has no counters, as for a pseudo-terminal, and when
     * the device could not be opened or has gone.
     */
    QJsonValue sinceStart() const;

private:
    std::optional<LineErrorCounts> read() const;

    CountedErrors counted;
    int descriptor;
    std::optional<LineErrorCounts> start;
};
