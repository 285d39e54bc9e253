#pragma once

#include <QByteArray>

/**
 * Writes all of `bytes`. Waits while the reader is slow, even when `descriptor` is non-blocking.
 * False with `errno` set when the system refuses a part; everything before that part is written.
 */
bool writeAll(int descriptor, const QByteArray& bytes);

/**
 * Waits until everything written to `descriptor`, a regular file, is on the disk. False with
 * `errno` set when some of it cannot be stored. True on a file system that does not support this.
 */
bool syncToDisk(int descriptor);
