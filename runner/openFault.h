#pragma once

#include <QString>

/**
 * Why the system does not let this process open the device `path` for reading and writing, or read
 * and set its line's settings, in one line; empty when it does. Tries it and leaves the settings as
 * they are, so it is meant for a port that the engine failed to open.
 */
QString openFault(const QString& path);

/** The text of that for the error number `error`; `ownerGroup` is the group that owns the node. */
QString openFaultText(int error, const QString& ownerGroup);
