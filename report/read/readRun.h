#pragma once

#include "report/read/Run.h"

#include <QJsonObject>

/** The format of runs that readRun() understands. */
inline constexpr int runFormat = 2;

/**
 * Takes the figures out of a report of a run. Members that it does not know are passed over; the
 * first that is missing or of another kind is told in `fault`.
 */
Run readRun(const QJsonObject& report, QString& fault);
