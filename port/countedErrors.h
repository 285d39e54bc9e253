#pragma once

#include <QString>

/**
 * The kinds of line error that a driver always counts. For the other kinds, a count of 0 tells
 * nothing.
 */
struct CountedErrors
{
    bool framing = false;
    bool parity = false;
    bool overrun = false;
    bool lineBreak = false;
    bool bufferOverrun = false;
};

/**
 * Returns which errors the driver counts on a line configured by vnSerialComs. `driver` is named as
 * in PortAdapter. All are false for an unknown driver.
 */
CountedErrors countedErrors(const QString& driver);
