#include "engine/timing/RunClock.h"

#include <chrono>

void RunClock::restart()
{
    using namespace std::chrono;
    steadyNs = steady->nowNs();
    wallNs = duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

qint64 RunClock::nowMs() const
{
    return (wallNs + steady->nowNs() - steadyNs) / 1'000'000;
}
