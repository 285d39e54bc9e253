#pragma once

#include "report/read/Run.h"

/** Parts of a page, as markup. Colours and shapes stand for words that are there too. */

/** The verdict in words and colour, with the run's reasons. */
QString verdictSection(const Run& run);
/** What the run's figures mean; `heading` is plain text. */
QString findingsSection(const Run& run, const QString& heading);
/** Port, adapter, tags, host and settings of each run, a column a run. */
QString testedSection(const std::vector<Run>& runs);
/** Counts and latencies, a column a run. */
QString figuresSection(const std::vector<Run>& runs);
/** A place for each chart, with the table of its figures. */
QString chartsSection(const std::vector<Run>& runs);
/** A place for a chart named `id`, which stays hidden without the script. */
QString chartPlace(const QString& id, const QString& title, const QString& description);
/** The word for the verdict with its mark. */
QString verdictBadge(RunVerdict verdict);
/** The figure or a dash that is read as "not measured". */
QString latencyCell(const Figure& us);
QString percentCell(const Figure& percent);
