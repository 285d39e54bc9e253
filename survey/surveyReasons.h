#pragma once

#include "survey/SurveyOutcome.h"

#include <QStringList>

/** Why sizes have no rate without loss, a line for each. `timeoutMs` as in TestConfig. Pure. */
QStringList sizeReasons(const std::vector<SizeResult>& sizes, int timeoutMs);

/** "loses 1 in 1000 at every rate", to two digits, or up to which rate. Pure. */
QString evenLossText(const EvenLoss& loss);

/** That echoes came after the time-out only; the shortest round trip is `lateUs`. Pure. */
QString lateText(double lateUs, int timeoutMs);

/** That nothing of `trial` came back, and since when nothing has. Pure. */
QString silentText(const Trial& trial, const SurveyMoment& lastEcho);
