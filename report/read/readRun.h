#pragma once

#include "report/read/Run.h"

#include <QJsonObject>

/**
 * Reads a report of a run. Unknown members are ignored. The first member that is missing or has
 * another type is reported in `fault`.
 */
Run readRun(const QJsonObject& report, QString& fault);
