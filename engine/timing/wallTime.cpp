#include "engine/timing/wallTime.h"

#include <chrono>

QDateTime wallTime()
{
    using namespace std::chrono;
    const auto sinceEpoch = floor<milliseconds>(system_clock::now().time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count());
}
