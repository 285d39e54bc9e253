#include "command/StandardError.h"

#include <algorithm>
#include <climits>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool leadsTo(mode_t kind)
{
    struct stat facts = {};
    return ::fstat(STDERR_FILENO, &facts) == 0 && (facts.st_mode & S_IFMT) == kind;
}

/**
 * O_NONBLOCK belongs to the open file description, which other programs share on standard error. So
 * a pipe or a terminal is opened again. A socket cannot be opened again and does not need it.
 * Negative: not opened again.
 */
int openAgain()
{
    if (!leadsTo(S_IFIFO) && ::isatty(STDERR_FILENO) == 0)
        return -1;
    return ::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

} // namespace

StandardError::StandardError(const QString& program)
    : name(program), own(openAgain()), isSocket(leadsTo(S_IFSOCK))
{
}

StandardError::~StandardError()
{
    if (leftOut > 0 || !rest.isEmpty())
        begin(leftOutText().toLocal8Bit());
    if (own >= 0)
        ::close(own);
}

void StandardError::print(const QString& line, const QString& before, const QString& after)
{
    if (begin((before + leftOutText() + line + u'\n' + after).toLocal8Bit()))
        leftOut = 0;
    else
        ++leftOut;
}

QString StandardError::ownLine(const QString& message) const
{
    return name + QStringLiteral(": ") + message;
}

void StandardError::draw(const QString& text)
{
    begin(text.toLocal8Bit());
}

QString StandardError::leftOutText() const
{
    if (leftOut == 0)
        return {};
    return QStringLiteral("%1: lines left out, as standard error was full: %2\n")
        .arg(name)
        .arg(leftOut);
}

/** Returns whether some of `bytes` was written. The rest is then written before anything else. */
bool StandardError::begin(const QByteArray& bytes)
{
    rest.remove(0, write(rest));
    if (!rest.isEmpty())
        return false;
    const qsizetype taken = write(bytes);
    if (taken > 0)
        rest = bytes.mid(taken);
    return taken > 0;
}

/** Returns how many bytes were written without waiting. */
qsizetype StandardError::write(const QByteArray& bytes) const
{
    const int descriptor = own >= 0 ? own : STDERR_FILENO;
    qsizetype taken = 0;
    for (ssize_t result = 1; result > 0 && taken < bytes.size();
         taken += std::max<ssize_t>(result, 0)) {
        const char* from = bytes.constData() + taken;
        // A pipe that poll() reports writable has room for PIPE_BUF bytes.
        const auto size = static_cast<size_t>(std::min<qsizetype>(bytes.size() - taken, PIPE_BUF));
        pollfd room{descriptor, POLLOUT, 0};
        if (::poll(&room, 1, 0) != 1)
            break;
        result = isSocket ? ::send(descriptor, from, size, MSG_DONTWAIT | MSG_NOSIGNAL)
                          : ::write(descriptor, from, size);
    }
    return taken;
}
