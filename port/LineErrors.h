#pragma once

#include "port/countedErrors.h"

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

/** The same as far as it is known; nothing where 0 may only mean that the driver does not count. */
struct KnownLineErrors
{
    std::optional<quint32> framing{};
    std::optional<quint32> parity{};
    std::optional<quint32> overrun{};
    std::optional<quint32> lineBreak{};
    std::optional<quint32> bufferOverrun{};

    bool operator==(const KnownLineErrors&) const = default;
};

/** What came between two readings. The counters start again from 0 after 2^32 - 1. */
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
     * Faults since construction. Nothing when no kind is known, when the driver has no counters, as
     * for a pseudo-terminal, and when the device could not be opened or has gone.
     */
    std::optional<KnownLineErrors> sinceStart() const;

private:
    std::optional<LineErrorCounts> read() const;

    CountedErrors counted;
    int descriptor;
    std::optional<LineErrorCounts> start;
};
