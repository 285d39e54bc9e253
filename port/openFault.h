#pragma once

#include <QString>

/**
 * Returns why this process cannot use the device `path`, in one line; empty when it can. Reasons
 * are: the system does not open it, another program has locked it, or its line cannot be
 * configured. The check opens and locks the device and leaves its settings unchanged. Do not use it
 * for a port that this process has open.
 */
QString openFault(const QString& path);

/**
 * Returns that text for the error number `error`. `ownerGroup` is the group that owns the device;
 * empty: not known.
 */
QString openFaultText(int error, const QString& ownerGroup);
