#include "link/vnSerialComs.h"

#include "link/boundedClose.h"
#include "link/lineRates.h"
#include "link/vnPacket.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <termios.h>
#include <unistd.h>

namespace {

/** The system's constants for baudRates, in the same order. */
constexpr std::array<speed_t, baudRates.size()> speeds{B1200, B1800,  B2400,  B4800,
                                                       B9600, B19200, B38400, B115200};

std::optional<speed_t> terminalSpeed(int baudRate)
{
    const auto* const rate = std::find(baudRates.begin(), baudRates.end(), baudRate);
    if (rate == baudRates.end())
        return std::nullopt;
    return speeds.at(static_cast<std::size_t>(rate - baudRates.begin()));
}

void makeRaw(termios& line, speed_t speed)
{
    line.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | INPCK | ISTRIP | INLCR |
                                           IGNCR | ICRNL | IUCLC | IXON | IXANY | IXOFF | IMAXBEL);
    line.c_iflag |= IGNPAR;
    line.c_oflag &= ~static_cast<tcflag_t>(OPOST | OLCUC | ONLCR | OCRNL | ONOCR | ONLRET | OFILL |
                                           OFDEL | NLDLY | CRDLY | TABDLY | BSDLY | VTDLY | FFDLY);
    line.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | HUPCL | CRTSCTS);
    line.c_cflag |= CS8 | CSTOPB | CREAD | CLOCAL;
    line.c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | FLUSHO | PENDIN | IEXTEN);
    line.c_lflag |= NOFLSH;
    cfsetospeed(&line, speed);
    cfsetispeed(&line, speed);
}

/**
 * Opens with O_NONBLOCK, because a port that uses its modem lines would otherwise wait for a
 * carrier without limit. Opens with O_NOCTTY, because a session leader would otherwise get the line
 * as its controlling terminal and be killed when the line hangs up. The returned descriptor is in
 * blocking mode.
 */
int openDevice(const QString& path)
{
    const int descriptor =
        ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor >= 0)
        ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return descriptor;
}

/**
 * False when another program has locked the device. The lock ends when the descriptor is closed.
 */
bool lockDevice(int descriptor)
{
    return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

} // namespace

vnSerialComs::vnSerialComs(QObject* parent, const QString& initialPortName, int initialBaudRate)
    : QObject(parent), portName(initialPortName), baudRate(initialBaudRate)
{
}

vnSerialComs::~vnSerialComs()
{
    closePort();
}

bool vnSerialComs::openPort(const QString& newPortName, int newBaudRate)
{
    closePort();
    if (!newPortName.isEmpty())
        portName = newPortName;
    if (newBaudRate != 0)
        baudRate = newBaudRate;
    if (portName.isEmpty()) {
        error = NoPortName;
        return false;
    }
    if (baudRate == 0) {
        error = InvalidBaudRate;
        return false;
    }

    const int descriptor = openDevice(portName);
    if (descriptor < 0) {
        error = OpenFailed;
        return false;
    }
    // 0 means "none" in this class, so descriptor 0 cannot be used.
    if (descriptor == 0 || !lockDevice(descriptor)) {
        ::close(descriptor);
        error = OpenFailed;
        return false;
    }
    if (!configure(descriptor)) {
        ::close(descriptor);
        return false;
    }

    fd = descriptor;
    lineStuck = false;
    error = NoError;
    openFlag = true;
    return true;
}

bool vnSerialComs::configure(int descriptor)
{
    const std::optional<speed_t> speed = terminalSpeed(baudRate);
    if (!speed) {
        error = InvalidBaudRate;
        return false;
    }
    termios line = {};
    if (tcgetattr(descriptor, &line) != 0) {
        error = ConfigureFailed;
        return false;
    }
    makeRaw(line, *speed);
    if (tcsetattr(descriptor, TCSANOW, &line) != 0) {
        error = ConfigureFailed;
        return false;
    }
    return true;
}

int vnSerialComs::closeWaitMs(int baudRate)
{
    return static_cast<int>(vnMaxFrameLength) * bitsPerByte * 1000 / baudRate + writeWaitMs;
}

bool vnSerialComs::closePort()
{
    if (!openFlag)
        return false;
    std::unique_lock writing(writeLock);
    std::unique_lock reading(readLock);
    openFlag = false;
    if (fd != 0) {
        closeWithin(fd, closeWaitMs(baudRate));
        fd = 0;
    }
    writing.unlock();
    reading.unlock();
    return true;
}

bool vnSerialComs::writeData(const uint8_t* bytes, uint32_t length)
{
    const std::lock_guard writing(writeLock);
    if (!openFlag || fd == 0) {
        error = OpenFailed;
        return false;
    }
    const qint64 askedNs = clock->nowNs();
    const bool writable = waitUntilWritable();
    writeNs = clock->nowNs();
    waitedNs += writeNs - askedNs;
    const bool complete = writable && ::write(fd, bytes, length) == ssize_t{length};
    error = complete ? NoError : WriteFailed;
    return complete;
}

bool vnSerialComs::waitUntilWritable()
{
    const QDeadlineTimer deadline(lineStuck ? 0 : writeWaitMs);
    pollfd line = {.fd = fd, .events = POLLOUT, .revents = {}};
    int ready = {};
    do {
        ready = ::poll(&line, 1, static_cast<int>(deadline.remainingTime()));
    } while (ready < 0 && errno == EINTR);
    lineStuck = ready == 0;
    return ready > 0;
}

bool vnSerialComs::readData(uint8_t* buffer, uint32_t size, uint32_t& bytesRead)
{
    const std::lock_guard reading(readLock);
    bytesRead = 0;
    if (!openFlag || fd == 0) {
        error = OpenFailed;
        return false;
    }
    pollfd line = {.fd = fd, .events = POLLIN | POLLPRI, .revents = {}};
    if (::poll(&line, 1, 0) != 0) {
        const ssize_t count = ::read(fd, buffer, size);
        if (count > 0) {
            readNs = clock->nowNs();
            bytesRead = static_cast<uint32_t>(count);
            taken += bytesRead;
        }
    }
    error = NoError;
    return true;
}

#include "moc_vnSerialComs.cpp"
