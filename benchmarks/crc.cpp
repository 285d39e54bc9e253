#include "link/vnPacketComs.h"

#include <benchmark/benchmark.h>
#include <boost/crc.hpp>

#include <array>
#include <numeric>

namespace {

/** What the CRC of a full frame covers. */
constexpr uint16_t coveredBytes = 126;

std::array<uint8_t, coveredBytes> message()
{
    std::array<uint8_t, coveredBytes> bytes{};
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
}

void crcOwn(benchmark::State& state)
{
    const auto bytes = message();
    while (state.KeepRunning()) {
        const uint8_t* start = bytes.data();
        benchmark::DoNotOptimize(start);
        benchmark::DoNotOptimize(vnPacketComs::calculateCRC(start, coveredBytes));
    }
}
BENCHMARK(crcOwn);

void crcBoost(benchmark::State& state)
{
    const auto bytes = message();
    while (state.KeepRunning()) {
        const uint8_t* start = bytes.data();
        benchmark::DoNotOptimize(start);
        boost::crc_optimal<16, 0x1021, 0xFFFF, 0xFFFF, true, true> crc;
        crc.process_bytes(start, coveredBytes);
        benchmark::DoNotOptimize(crc.checksum());
    }
}
BENCHMARK(crcBoost);

} // namespace
