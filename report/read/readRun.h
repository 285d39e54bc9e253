#pragma once

#include "report/read/Run.h"

#include <QJsonObject>

/**
 * Takes the figures out of a report of a run. Members that it does not know are passed over; the
 * first that is missing or of another kind is told in `fault`.
 */
Run readRun(const QJsonObject& report, QString& fault);
