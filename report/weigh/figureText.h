#pragma once

#include "report/read/Run.h"

/**
 * Formats figures for readers, the same way in pages and on terminals. A missing figure is a dash.
 */

/** Groups of three digits, separated by narrow no-break spaces. */
QString countText(qint64 count);
/** Three significant digits in µs, ms or s. */
QString latencyText(const Figure& us);
/** Three significant digits and the percent sign. */
QString percentText(const Figure& percent);
/** At most `decimals` decimal places, without trailing zeros. */
QString numberText(double value, int decimals);
/** "Passed", "Failed", "Line lost", "Output failed" or "Disturbed". */
QString verdictText(RunVerdict verdict);
/** Date and time in the local time of the place where the run was made. */
QString timeText(const QDateTime& time);
/** Describes the adapter or the computer in one line; empty: unknown. */
QString adapterText(const TestPlace& place);
QString hostText(const TestPlace& place);
