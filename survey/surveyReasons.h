#pragma once

#include "survey/SurveyOutcome.h"

#include <QStringList>

/**
 * Returns why sizes have no rate without loss, one line per size. `timeoutMs` as in TestConfig.
 * Pure.
 */
QStringList sizeReasons(const std::vector<SizeResult>& sizes, int timeoutMs);

/**
 * Returns for example "loses 1 in 1000 at every rate", with two significant digits, or up to which
 * rate. Pure.
 */
QString evenLossText(const EvenLoss& loss);

/** Says that echoes came only after the time-out. `lateUs` is the shortest round trip. Pure. */
QString lateText(double lateUs, int timeoutMs);

/** Says that nothing came back in `trial`, and since when there has been no echo. Pure. */
QString silentText(const Trial& trial, const SurveyMoment& lastEcho);
