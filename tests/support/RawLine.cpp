#include "tests/support/RawLine.h"

#include "link/vnPacketComs.h"

#include <QDeadlineTimer>
#include <QtEndian>

#include <array>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

int waitingToBeRead(int descriptor)
{
    int count = 0;
    ioctl(descriptor, FIONREAD, &count);
    return count;
}

} // namespace

RawLine::RawLine() : master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    grantpt(master);
    unlockpt(master);
    slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios line = {};
    tcgetattr(slave, &line);
    cfmakeraw(&line);
    tcsetattr(slave, TCSANOW, &line);
}

RawLine::~RawLine()
{
    hangUp();
}

QString RawLine::path() const
{
    return QString::fromLocal8Bit(ptsname(master));
}

void RawLine::send(const QByteArray& bytes)
{
    const int expected = waitingToBeRead(slave) + static_cast<int>(bytes.size());
    if (write(master, bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size())
        qFatal("the pseudo-terminal did not take %lld bytes", static_cast<long long>(bytes.size()));
    const QDeadlineTimer deadline(5000);
    while (waitingToBeRead(slave) < expected && !deadline.hasExpired())
        sched_yield();
}

QByteArray RawLine::takeOnce(int timeoutMs)
{
    std::array<char, 4096> buffer{};
    pollfd line = {.fd = master, .events = POLLIN, .revents = 0};
    if (poll(&line, 1, timeoutMs) <= 0)
        return {};
    const ssize_t taken = read(master, buffer.data(), buffer.size());
    return QByteArray(buffer.data(), std::max<qsizetype>(taken, 0));
}

QByteArray RawLine::take(qsizetype count)
{
    QByteArray bytes;
    const QDeadlineTimer deadline(5000);
    while (bytes.size() < count && !deadline.hasExpired())
        bytes += takeOnce(static_cast<int>(deadline.remainingTime()));
    return bytes;
}

QByteArray RawLine::takeAll()
{
    QByteArray bytes;
    for (QByteArray more = takeOnce(0); !more.isEmpty(); more = takeOnce(0))
        bytes += more;
    return bytes;
}

void RawLine::hangUp()
{
    for (int* descriptor : {&master, &slave}) {
        if (*descriptor >= 0)
            close(*descriptor);
        *descriptor = -1;
    }
}

QByteArray frame(uint8_t command, const QByteArray& data)
{
    QByteArray bytes;
    bytes.append(static_cast<char>(command)).append(static_cast<char>(data.size())).append(data);
    const uint16_t crc = qToLittleEndian(vnPacketComs::calculateCRC(
        reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<uint16_t>(bytes.size())));
    return bytes.append(reinterpret_cast<const char*>(&crc), sizeof crc);
}
