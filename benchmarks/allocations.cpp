#include "link/vnPacket.h"
#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"
#include "tests/support/frame.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<int64_t>& allocations()
{
    static std::atomic<int64_t> count = 0;
    return count;
}

} // namespace

// The program's own allocation functions take the place of the C library's for every library that
// it loads, operator new included, and hand on to the C library's inner names for them.
extern "C" {
void* innerMalloc(std::size_t size) __asm__("__libc_malloc");
void* innerCalloc(std::size_t count, std::size_t size) __asm__("__libc_calloc");
void* innerRealloc(void* block, std::size_t size) __asm__("__libc_realloc");

void* malloc(std::size_t size)
{
    ++allocations();
    return innerMalloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++allocations();
    return innerCalloc(count, size);
}

void* realloc(void* block, std::size_t size)
{
    ++allocations();
    return innerRealloc(block, size);
}
}

namespace {

/** Reports how often one call of `work` allocates; `prepare` comes before each, uncounted. */
template <typename Prepare, typename Work>
void countAllocations(benchmark::State& state, Prepare prepare, Work work)
{
    int64_t counted = 0;
    while (state.KeepRunning()) {
        prepare();
        const int64_t before = allocations();
        const bool done = work();
        counted += allocations() - before;
        if (!done)
            state.SkipWithError("the call failed");
    }
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(counted), benchmark::Counter::kAvgIterations);
}

struct Ends
{
    RawLine line;
    vnSerialComs serial{nullptr, {}, 0};
    vnPacketComs coms{nullptr, &serial};
    vnPacket packet{.command = 0, .dataLength = vnMaxDataLength, .data = {}, .crc = 0};
    Ends() { serial.openPort(line.path(), 115200); }
};

constexpr int calls = 2000;

void allocationsOfSend(benchmark::State& state)
{
    Ends ends;
    countAllocations(
        state, [&] { ends.line.take(0); }, [&] { return ends.coms.sendPacket(ends.packet); });
}
BENCHMARK(allocationsOfSend)->Iterations(calls);

void allocationsOfReceive(benchmark::State& state)
{
    Ends ends;
    const QByteArray bytes = frame(0x40, QByteArray(vnMaxDataLength, 'x'));
    countAllocations(
        state, [&] { ends.line.send(bytes); },
        [&] { return ends.coms.receivePacket(ends.packet); });
}
BENCHMARK(allocationsOfReceive)->Iterations(calls);

/** Shows that an allocation inside of Qt is counted. */
void allocationsOfCopy(benchmark::State& state)
{
    countAllocations(
        state, [] {}, [] { return QByteArray(vnMaxDataLength, 'x').size() == vnMaxDataLength; });
}
BENCHMARK(allocationsOfCopy)->Iterations(calls);

} // namespace
