#pragma once

#include "port/countedErrors.h"

#include <QString>

#include <optional>

/**
 * Errors that the kernel has counted on a line, since the line was set up unless said otherwise.
 */
struct LineErrorCounts
{
    quint32 framing = 0;
    quint32 parity = 0;
    quint32 overrun = 0;
    quint32 lineBreak = 0;
    quint32 bufferOverrun = 0;

    bool operator==(const LineErrorCounts&) const = default;
};

/** Like LineErrorCounts, but with no value where 0 may only mean that the driver does not count. */
struct KnownLineErrors
{
    std::optional<quint32> framing{};
    std::optional<quint32> parity{};
    std::optional<quint32> overrun{};
    std::optional<quint32> lineBreak{};
    std::optional<quint32> bufferOverrun{};

    bool operator==(const KnownLineErrors&) const = default;
};

/** Returns the errors counted between two readings. A counter wraps to 0 after 2^32 - 1. */
LineErrorCounts countedBetween(const LineErrorCounts& start, const LineErrorCounts& end);

/**
 * Counts the errors of one line while the object exists. It uses its own descriptor and does not
 * touch the line's settings, locks or data. One thread.
 */
class LineErrors
{
public:
    /**
     * Starts counting on the device `path`. The device should be open already, because opening it
     * raises DTR. `countedKinds` are the errors that its driver counts.
     */
    LineErrors(const QString& path, CountedErrors countedKinds);
    ~LineErrors();
    LineErrors(const LineErrors&) = delete;
    LineErrors& operator=(const LineErrors&) = delete;

    /**
     * Returns the errors since construction. No value when no kind is known, when the driver has no
     * counters (as for a pseudo-terminal), or when the device could not be opened or is gone.
     */
    std::optional<KnownLineErrors> sinceStart() const;

private:
    std::optional<LineErrorCounts> read() const;

    CountedErrors counted;
    int descriptor;
    std::optional<LineErrorCounts> start;
};
