#pragma once

#include <QStringList>

/**
 * Returns what would disturb a test on the port `path`, one line each; empty when nothing was
 * found. It checks whether the device can be opened, whether other programs have it open or may
 * probe it, and whether its adapter delays bytes or may be suspended. It opens the port briefly, as
 * openFault() does. On a pseudo-terminal it reports only programs that have locked it.
 */
QStringList portFaults(const QString& path);
