// bare_pings LINE RATE SECONDS: writes a ping of 12 bytes at each tick of a kernel timer and waits
// for its echo; nothing else. Prints the pings made and their mean round trip.

#include <boost/crc.hpp>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/timerfd.h>
#include <termios.h>
#include <unistd.h>

namespace {

using Frame = std::array<uint8_t, 12>;

Frame ping()
{
    Frame frame{0, 8};
    boost::crc_optimal<16, 0x1021, 0xFFFF, 0xFFFF, true, true> crc;
    crc.process_bytes(frame.data(), frame.size() - 2);
    frame[10] = static_cast<uint8_t>(crc.checksum() & 0xFFU);
    frame[11] = static_cast<uint8_t>(crc.checksum() >> 8U);
    return frame;
}

int openLine(const char* path)
{
    const int line = open(path, O_RDWR | O_NOCTTY);
    termios settings = {};
    if (line < 0 || tcgetattr(line, &settings) != 0)
        return -1;
    cfmakeraw(&settings);
    return tcsetattr(line, TCSANOW, &settings) == 0 ? line : -1;
}

int startTimer(int rate)
{
    const int timer = timerfd_create(CLOCK_MONOTONIC, 0);
    const timespec interval = {.tv_sec = 0, .tv_nsec = 999999999 / rate};
    const itimerspec setting = {.it_interval = interval, .it_value = interval};
    return timerfd_settime(timer, 0, &setting, nullptr) == 0 ? timer : -1;
}

bool exchange(int line, const Frame& frame)
{
    if (write(line, frame.data(), frame.size()) != ssize_t{std::tuple_size_v<Frame>})
        return false;
    Frame echo{};
    for (std::size_t taken = 0; taken < echo.size();) {
        const ssize_t part = read(line, echo.data() + taken, echo.size() - taken);
        if (part <= 0)
            return false;
        taken += static_cast<std::size_t>(part);
    }
    return echo[0] == 0x40;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 4)
        return EXIT_FAILURE;
    using Clock = std::chrono::steady_clock;
    const int line = openLine(argv[1]);
    const int timer = startTimer(std::atoi(argv[2]));
    const auto end = Clock::now() + std::chrono::seconds(std::atoi(argv[3]));
    const Frame frame = ping();
    std::chrono::duration<double, std::milli> total{};
    int pings = 0;
    for (uint64_t ticks = 0; Clock::now() < end; ++pings) {
        if (read(timer, &ticks, sizeof ticks) != ssize_t{sizeof ticks})
            return EXIT_FAILURE;
        const auto sent = Clock::now();
        if (!exchange(line, frame))
            return EXIT_FAILURE;
        total += Clock::now() - sent;
    }
    std::printf("{\"pings\": %d, \"roundTripMs\": %f}\n", pings, total.count() / pings);
}
