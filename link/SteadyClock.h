#pragma once

#include <QtGlobal>

#include <chrono>

/** A clock that never steps. Only differences between its times have a meaning. Any thread. */
class SteadyClock
{
public:
    SteadyClock() = default;
    virtual ~SteadyClock() = default;
    SteadyClock(const SteadyClock&) = delete;
    SteadyClock& operator=(const SteadyClock&) = delete;

    /** Nanoseconds since an unspecified time; here the kernel's CLOCK_MONOTONIC. */
    virtual qint64 nowNs() const
    {
        const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceBoot).count();
    }
};
