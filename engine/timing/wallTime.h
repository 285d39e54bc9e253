#pragma once

#include <QDateTime>

/**
 * The time by the system's clock, as local time. It is cut to the millisecond, as RunClock's is, so
 * that no stamp lies ahead of its event. Qt 6.8 rounds its own to the nearest one. Any thread.
 */
QDateTime wallTime();
