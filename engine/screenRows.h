#pragma once

#include <QStringList>

class QDateTime;
struct TestStats;

/** Column and row, in front of each text in a request to the module's screen. */
inline constexpr int screenPositionBytes = 2;

/**
 * The texts for the module's screen, one for each row from row 0 on; a row with an empty text is
 * left as it is. They show the counters of a run, or that none is under way where `stats` is null.
 */
QStringList screenRows(const QDateTime& time, const TestStats* stats);
