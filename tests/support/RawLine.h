#pragma once

#include "simulator/line/Pty.h"

#include <QtCore>

#include <array>
#include <memory>

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

/**
 * A pseudo-terminal whose module end the caller plays by hand, byte by byte: for faults that no
 * SimulatedModule has. It ends the program when the system gives it no line. One thread.
 */
class RawLine
{
public:
    RawLine()
    {
        QString error;
        pty = Pty::open(error);
        if (!pty)
            qFatal("%s", qPrintable(error));
        linePath = pty->path();
        observer = ::open(qPrintable(linePath), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    ~RawLine() { ::close(observer); }

    /** The path that the code under test opens. */
    QString path() const { return linePath; }
    /** Closes the module's end, as if the adapter had been pulled out. */
    void hangUp() { pty.reset(); }
    /** Puts bytes on the line; returns when all of them are there for the other end to read. */
    void send(const QByteArray& bytes)
    {
        int waiting = 0;
        ioctl(observer, FIONREAD, &waiting);
        const qsizetype expected = waiting + bytes.size();
        if (pty->write(bytes.constData(), bytes.size()) != bytes.size())
            qFatal("the pseudo-terminal did not take %lld bytes",
                   static_cast<long long>(bytes.size()));
        for (QDeadlineTimer rest(5000); waiting < expected && !rest.hasExpired(); sched_yield())
            ioctl(observer, FIONREAD, &waiting);
    }
    /** All that the other end has written, and at least `count` bytes unless that takes 5 s. */
    QByteArray take(qsizetype count)
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
    /** A descriptor of the other end, to look at its settings. */
    int otherEnd() const { return observer; }

private:
    std::unique_ptr<Pty> pty;
    QString linePath;
    int observer = -1;
};
