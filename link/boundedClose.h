#pragma once

/**
 * Closes the terminal `descriptor` within little more than `waitMs` milliseconds, whatever the
 * device does. Unsent bytes have that long to leave; then they are discarded. A plain close() waits
 * half a minute or longer for a device that takes no bytes.
 *
 * Any thread. If a driver does not discard its bytes, which is rare, the handler of the real-time
 * signal SIGRTMAX - 2 is replaced until this function returns.
 */
void closeWithin(int descriptor, int waitMs);
