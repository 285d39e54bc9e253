#pragma once

#include "report/read/Run.h"

/** Figures as people read them, the same in pages and on terminals. A missing one is a dash. */

/** Groups of three digits, set apart by narrow spaces that do not break. */
QString countText(qint64 count);
/** Three significant digits in µs, ms or s. */
QString latencyText(const Figure& us);
/** Three significant digits and the sign. */
QString percentText(const Figure& percent);
/** At most `decimals` of them, no zeros at the end. */
QString numberText(double value, int decimals);
/** "Passed", "Failed", "Line lost", "Output failed" or "Disturbed". */
QString verdictText(RunVerdict verdict);
/** Local time of the place where the run was made. */
QString timeText(const QDateTime& time);
/** The adapter or the computer in one line; empty: nothing is known. */
QString adapterText(const TestPlace& place);
QString hostText(const TestPlace& place);
