#pragma once

#include <QStringList>

class QDateTime;
struct TestStats;

/** Size of the column and the row that precede the text in a request to the module's screen. */
inline constexpr int screenPositionBytes = 2;

/**
 * Returns the texts for the module's screen, one for each row from row 0 on. A row with an empty
 * text is not written. They show the counters of a run, or that no run is active if `stats` is
 * null.
 */
QStringList screenRows(const QDateTime& time, const TestStats* stats);
