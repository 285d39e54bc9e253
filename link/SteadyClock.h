#pragma once

#include <QtGlobal>

#include <chrono>

/** A clock that never steps: its moments mean nothing but their distance. Any thread. */
class SteadyClock
{
public:
    SteadyClock() = default;
    virtual ~SteadyClock() = default;
    SteadyClock(const SteadyClock&) = delete;
    SteadyClock& operator=(const SteadyClock&) = delete;

    /** Nanoseconds since some moment in the past; the kernel's CLOCK_MONOTONIC as it stands here.
     */
    virtual qint64 nowNs() const
    {
        const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceBoot).count();
    }
};
