#pragma once

#include "link/vnPacket.h"

#include <QByteArray>
#include <QString>

/** A pseudo-terminal whose module end the test plays by hand, byte by byte. One thread. */
class RawLine
{
public:
    RawLine();
    ~RawLine();
    RawLine(const RawLine&) = delete;
    RawLine& operator=(const RawLine&) = delete;

    /** The path that the code under test opens. */
    QString path() const;
    /** Puts bytes on the line; returns when all of them are there for the other end to read. */
    void send(const QByteArray& bytes);
    /** What the other end has written: at least `count` bytes unless nothing comes for 5 s. */
    QByteArray take(qsizetype count);
    /** All that the other end has written and that was not taken. */
    QByteArray takeAll();
    /** A module that goes away: the other end sees a hang-up. */
    void hangUp();
    /** A descriptor of the other end, to look at its settings. */
    int otherEnd() const { return slave; }

private:
    QByteArray takeOnce(int timeoutMs);

    int master = -1;
    int slave = -1; ///< kept open, so that a closed port is not a hang-up
};

/** The frame of a packet with this command and data, CRC included. */
QByteArray frame(uint8_t command, const QByteArray& data = {});
