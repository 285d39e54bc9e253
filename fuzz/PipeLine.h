#pragma once

#include "link/vnSerialComs.h"

#include <cstdint>
#include <span>
#include <vector>

/**
 * An open serial line with a pipe in the terminal's place: what is written is there at once, where
 * a terminal hands it over in its own time. One thread.
 */
class PipeLine
{
public:
    /** A pipe has one direction: the tool reads from the line, or it writes to it. */
    enum class Flow { ToTool, FromTool };

    /** Ends the process when the line cannot be had. `clock` is not owned; null: the system's. */
    explicit PipeLine(Flow flow, const SteadyClock* clock = nullptr);
    ~PipeLine();
    PipeLine(const PipeLine&) = delete;
    PipeLine& operator=(const PipeLine&) = delete;

    vnSerialComs& serial() { return line; }
    /** Lets `bytes` arrive at the tool; no more than `limit` may wait to be read. */
    void write(std::span<const uint8_t> bytes);
    /** What the tool has written since the last call, at most `limit` bytes. */
    std::vector<uint8_t> take();

    /** More than any receiver buffers, and less than a pipe holds. */
    static constexpr size_t limit = 1500;

private:
    vnSerialComs line;
    int otherEnd = -1;
};
