#include "fuzz/PipeLine.h"

#include "fuzz/disagree.h"
#include "simulator/line/Pty.h"

#include <array>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

// The line opens terminals only, so the pipe takes its descriptor's place afterwards. Naming a
// private member is allowed in an explicit instantiation, and a friend defined there hands it out.
int descriptorOf(const vnSerialComs& line);
template <int vnSerialComs::*descriptor> struct Reach
{
    friend int descriptorOf(const vnSerialComs& line) { return line.*descriptor; }
};
template struct Reach<&vnSerialComs::fd>;

} // namespace

PipeLine::PipeLine(Flow flow, const SteadyClock* clock) : line(nullptr, QString(), 0)
{
    if (clock != nullptr)
        line.setClock(clock);
    QString error;
    const std::unique_ptr<Pty> pty = Pty::open(error);
    std::array<int, 2> ends{};
    if (!pty || !line.openPort(pty->path(), 115200) || ::pipe2(ends.data(), O_CLOEXEC) != 0)
        disagree(QStringLiteral("no line: %1").arg(error));
    const auto [toolsEnd, kept] =
        flow == Flow::ToTool ? std::pair(ends[0], ends[1]) : std::pair(ends[1], ends[0]);
    if (::dup2(toolsEnd, descriptorOf(line)) < 0 || ::fcntl(kept, F_SETFL, O_NONBLOCK) != 0)
        disagree(QStringLiteral("no line in the terminal's place"));
    ::close(toolsEnd);
    otherEnd = kept;
}

PipeLine::~PipeLine()
{
    ::close(otherEnd);
}

void PipeLine::write(std::span<const uint8_t> bytes)
{
    if (::write(otherEnd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        disagree(QStringLiteral("the pipe did not take %1 bytes").arg(bytes.size()));
}

std::vector<uint8_t> PipeLine::take()
{
    std::vector<uint8_t> bytes(limit);
    const ssize_t taken = ::read(otherEnd, bytes.data(), bytes.size());
    bytes.resize(taken > 0 ? static_cast<size_t>(taken) : 0);
    return bytes;
}
