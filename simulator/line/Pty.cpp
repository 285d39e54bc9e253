#include "simulator/line/Pty.h"

#include <array>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

std::unique_ptr<Pty> Pty::open(QString& errorText)
{
    std::unique_ptr<Pty> pty(new Pty);
    if (!pty->openEnds()) {
        errorText = QStringLiteral("cannot open a pseudo-terminal: %1").arg(qt_error_string(errno));
        pty.reset();
    }
    return pty;
}

Pty::~Pty()
{
    if (master >= 0)
        ::close(master);
    if (keptEnd >= 0)
        ::close(keptEnd);
}

bool Pty::openEnds()
{
    master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
        return false;
    std::array<char, 64> name{};
    if (ptsname_r(master, name.data(), name.size()) != 0)
        return false;
    endPath = QString::fromLocal8Bit(name.data());
    keptEnd = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings = {};
    if (keptEnd < 0 || tcgetattr(keptEnd, &settings) != 0)
        return false;
    cfmakeraw(&settings);
    return tcsetattr(keptEnd, TCSANOW, &settings) == 0;
}

qsizetype Pty::read(char* buffer, qsizetype size)
{
    const ssize_t taken = ::read(master, buffer, static_cast<size_t>(size));
    if (taken < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    return taken > 0 ? taken : -1;
}

qsizetype Pty::write(const char* bytes, qsizetype size)
{
    const ssize_t taken = ::write(master, bytes, static_cast<size_t>(size));
    if (taken < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    return taken;
}
