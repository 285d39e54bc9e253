#pragma once

#include <QString>

/** Kinds of line error that a driver counts whenever they happen; a 0 of another tells nothing. */
struct CountedErrors
{
    bool framing = false;
    bool parity = false;
    bool overrun = false;
    bool lineBreak = false;
    bool bufferOverrun = false;
};

/**
 * What the driver, named as in PortAdapter, counts on a line as vnSerialComs sets it up. Nothing
 * for a driver that is not known.
 */
CountedErrors countedErrors(const QString& driver);
