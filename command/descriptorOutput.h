#pragma once

#include <QByteArray>

/**
 * Writes all of `bytes`. A reader that is slow is waited for, also where `descriptor` is set not to
 * wait. False with `errno` set when the system refuses a part; what was before that is written.
 */
bool writeAll(int descriptor, const QByteArray& bytes);

/**
 * Waits until everything written to `descriptor`, a regular file, is on the disk. False with
 * `errno` set when some of it cannot get there. True on a file system that does not offer this.
 */
bool syncToDisk(int descriptor);
