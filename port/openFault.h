#pragma once

#include <QString>

/**
 * Why this process cannot have the device `path`, in one line; empty when it can: the system does
 * not open it, another program has locked it, or its line cannot be set up. Tries all that and
 * leaves the settings as they are, so it is meant for a port that this process has not open.
 */
QString openFault(const QString& path);

/** The text of that for the error number `error`; `ownerGroup` is the group that owns the node. */
QString openFaultText(int error, const QString& ownerGroup);
