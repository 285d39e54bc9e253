// bench_measure_memory HOURS: feeds the measurement of a run of that many hours at 1000 pings a
// second, one in a hundred lost, and prints what is resident after a twentieth of it and at the
// end.

#include "measure/RunMeasurement.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

namespace {

double residentKb()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:"))
            return std::stod(line.substr(6));
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2)
        return EXIT_FAILURE;
    constexpr qint64 millisecondNs = 1'000'000;
    const auto pings = static_cast<quint64>(std::atof(argv[1]) * 3'600'000);
    std::mt19937_64 generator(1);
    std::lognormal_distribution<double> latency(12, 1);
    RunMeasurement run;
    run.runBegan(0);
    double earlyKb = 0;
    for (quint64 id = 0; id < pings; ++id) {
        const qint64 atNs = static_cast<qint64>(id) * millisecondNs;
        run.pingSent({id, 8, atNs, atNs + 1000});
        const auto tookNs = static_cast<qint64>(latency(generator));
        if (id % 100 == 99)
            run.pingGivenUp(id, atNs, false);
        else
            run.echoMatched({id, atNs + 1000 + tookNs, tookNs, false});
        if (id == pings / 20)
            earlyKb = residentKb();
    }
    run.sendingEnded(static_cast<qint64>(pings) * millisecondNs);
    run.runEnded(static_cast<qint64>(pings) * millisecondNs);
    std::printf("{\"earlyMb\": %f, \"endMb\": %f, \"received\": %llu}\n", earlyKb / 1024,
                residentKb() / 1024, static_cast<unsigned long long>(run.figures().received));
}
