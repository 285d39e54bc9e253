#pragma once

#include "simulator/line/Pty.h"

#include <QByteArray>
#include <QString>

#include <memory>

#include <unistd.h>

/**
 * A pseudo-terminal whose module end the caller plays by hand, byte by byte: for faults that no
 * SimulatedModule has. It ends the program when the system gives it no line. One thread.
 */
class RawLine
{
public:
    RawLine();
    ~RawLine() { ::close(observer); }

    /** The path that the code under test opens. */
    QString path() const { return linePath; }
    /** Closes the module's end, as if the adapter had been pulled out. */
    void hangUp() { pty.reset(); }
    /** Puts bytes on the line; returns when all of them are there for the other end to read. */
    void send(const QByteArray& bytes);
    /** All that the other end has written, and at least `count` bytes unless that takes 5 s. */
    QByteArray take(qsizetype count);
    /** A descriptor of the other end, to look at its settings. */
    int otherEnd() const { return observer; }

private:
    std::unique_ptr<Pty> pty;
    QString linePath;
    int observer;
};
