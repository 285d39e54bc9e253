#pragma once

#include <QStringList>

/**
 * What would spoil a test on the port `path`, one line each; empty when nothing was found: a device
 * that cannot be had, that others have open or may probe, or whose adapter delays bytes or sleeps.
 * Opens the port for a moment, as openFault() does. Who else has a pseudo-terminal open does not
 * count, only who has locked it.
 */
QStringList portFaults(const QString& path);
