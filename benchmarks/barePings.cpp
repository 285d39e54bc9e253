// bare_pings LINE RATE SECONDS: a loop of poll() that writes a ping of 12 bytes whenever a kernel
// timer says so and reads echoes when they come; nothing else. Prints the pings made and their
// round trips, from before the write to after the read, as JSON.

#include <boost/crc.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/timerfd.h>
#include <termios.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using Frame = std::array<uint8_t, 12>;

Frame ping(uint64_t id)
{
    Frame frame{0, 8};
    std::memcpy(frame.data() + 2, &id, sizeof id);
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
    const timespec interval = {.tv_sec = rate == 1 ? 1 : 0,
                               .tv_nsec = rate == 1 ? 0 : 1'000'000'000 / rate};
    const itimerspec setting = {.it_interval = interval, .it_value = interval};
    return timerfd_settime(timer, 0, &setting, nullptr) == 0 ? timer : -1;
}

class Loop
{
public:
    Loop(const char* path, int rate) : line(openLine(path)), timer(startTimer(rate)) {}

    bool run(uint64_t pings)
    {
        while (roundTripsUs.size() < pings) {
            std::array<pollfd, 2> watched{{{.fd = line, .events = POLLIN, .revents = 0},
                                           {.fd = timer, .events = POLLIN, .revents = 0}}};
            if (poll(watched.data(), sent.size() < pings ? 2 : 1, 5000) <= 0)
                return false;
            if ((watched[0].revents != 0 && !takeEchoes()) ||
                (watched[1].revents != 0 && !sendMissed(pings)))
                return false;
        }
        return true;
    }

    std::vector<double> roundTripsUs;

private:
    bool sendMissed(uint64_t pings)
    {
        uint64_t ticks = 0;
        if (read(timer, &ticks, sizeof ticks) != ssize_t{sizeof ticks})
            return false;
        for (; ticks > 0 && sent.size() < pings; --ticks) {
            const Frame frame = ping(sent.size());
            sent.push_back(Clock::now());
            if (write(line, frame.data(), frame.size()) != ssize_t{std::tuple_size_v<Frame>})
                return false;
        }
        return true;
    }

    bool takeEchoes()
    {
        const ssize_t count = read(line, buffer.data() + held, buffer.size() - held);
        const auto now = Clock::now();
        if (count <= 0)
            return false;
        held += static_cast<size_t>(count);
        size_t used = 0;
        for (; held - used >= std::tuple_size_v<Frame>; used += std::tuple_size_v<Frame>) {
            uint64_t id = 0;
            std::memcpy(&id, buffer.data() + used + 2, sizeof id);
            if (buffer.at(used) != 0x40 || id >= sent.size())
                return false;
            roundTripsUs.push_back(
                std::chrono::duration<double, std::micro>(now - sent.at(id)).count());
        }
        std::memmove(buffer.data(), buffer.data() + used, held - used);
        held -= used;
        return true;
    }

    int line;
    int timer;
    std::vector<Clock::time_point> sent;
    std::array<uint8_t, 4096> buffer{};
    size_t held = 0;
};

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 4)
        return EXIT_FAILURE;
    const int rate = std::atoi(argv[2]);
    const auto start = Clock::now();
    Loop loop(argv[1], rate);
    if (!loop.run(static_cast<uint64_t>(rate) * static_cast<uint64_t>(std::atoi(argv[3]))))
        return EXIT_FAILURE;
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::vector<double>& us = loop.roundTripsUs;
    const double mean = std::accumulate(us.begin(), us.end(), 0.0) / static_cast<double>(us.size());
    std::sort(us.begin(), us.end());
    std::printf("{\"pings\": %zu, \"perSecond\": %f, \"meanUs\": %f, \"p50Us\": %f, "
                "\"p99Us\": %f}\n",
                us.size(), static_cast<double>(us.size()) / seconds, mean, us[us.size() / 2],
                us[us.size() * 99 / 100]);
}
