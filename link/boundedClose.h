#pragma once

/**
 * Closes the terminal `descriptor` in little more than `waitMs` milliseconds, whatever the device
 * does: what is unsent has that long to leave and is thrown away then. A plain close() waits half a
 * minute and longer for a device that takes no bytes.
 *
 * Any thread. In the rare case that a driver throws nothing away, the handler of one real-time
 * signal, SIGRTMAX - 2, is replaced until this returns.
 */
void closeWithin(int descriptor, int waitMs);
