#pragma once

#include <QDateTime>

/**
 * Returns the system time as local time. It is rounded down to the millisecond, as RunClock's is,
 * so that no time stamp is later than its event; Qt 6.8 rounds to the nearest millisecond. Any
 * thread.
 */
QDateTime wallTime();
