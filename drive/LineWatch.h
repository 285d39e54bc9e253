#pragma once

#include <QtGlobal>

#include <optional>

/**
 * Tells when a line is lost: for longer than the time-out no ping could be sent.
 *
 * Moments are nanoseconds of any one steady clock. Plain value; one thread at a time.
 */
class LineWatch
{
public:
    explicit LineWatch(int timeoutMs) : toleranceNs(timeoutMs * qint64{1'000'000}) {}

    /** A ping was sent, or a run begins. */
    void sent() { failingSinceNs.reset(); }
    /** A ping could not be sent; true when the line counts as lost, now or already before. */
    bool failed(qint64 atNs);

private:
    qint64 toleranceNs;
    std::optional<qint64> failingSinceNs; ///< the first failure behind the last ping sent
};
