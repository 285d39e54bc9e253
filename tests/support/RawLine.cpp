#include "tests/support/RawLine.h"

#include <QDeadlineTimer>

#include <array>

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>

namespace {
std::unique_ptr<Pty> openedPty()
{
    QString error;
    std::unique_ptr<Pty> pty = Pty::open(error);
    if (!pty)
        qFatal("%s", qPrintable(error));
    return pty;
}
} // namespace

RawLine::RawLine()
    : pty(openedPty()), linePath(pty->path()),
      observer(open(qPrintable(linePath), O_RDWR | O_NOCTTY | O_CLOEXEC))
{
}

void RawLine::send(const QByteArray& bytes)
{
    int waiting = 0;
    ioctl(observer, FIONREAD, &waiting);
    const qsizetype expected = waiting + bytes.size();
    if (pty->write(bytes.constData(), bytes.size()) != bytes.size())
        qFatal("the pseudo-terminal did not take %lld bytes", static_cast<long long>(bytes.size()));
    for (QDeadlineTimer rest(5000); waiting < expected && !rest.hasExpired(); sched_yield())
        ioctl(observer, FIONREAD, &waiting);
}

QByteArray RawLine::take(qsizetype count)
{
    QByteArray bytes;
    std::array<char, 4096> buffer{};
    const QDeadlineTimer deadline(5000);
    for (qsizetype taken = 1; taken > 0 || (bytes.size() < count && !deadline.hasExpired());) {
        taken = pty->read(buffer.data(), buffer.size());
        bytes.append(buffer.data(), std::max<qsizetype>(taken, 0));
    }
    return bytes;
}
