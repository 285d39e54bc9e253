#pragma once

#include "report/read/Run.h"

/** Sections of a page, as HTML. Everything shown by colour or shape is also said in words. */

/** The verdict in words and colour, and the run's reasons. */
QString verdictSection(const Run& run);
/** What the run's figures mean; `heading` is plain text. */
QString findingsSection(const Run& run, const QString& heading);
/** Port, adapter, tags, host and settings, with one column per run. */
QString testedSection(const std::vector<Run>& runs);
/** Counts and latencies, with one column per run. */
QString figuresSection(const std::vector<Run>& runs);
/** A placeholder for each chart, with a table of its figures. */
QString chartsSection(const std::vector<Run>& runs);
/** A placeholder for the chart with the HTML id `id`; hidden without the script. */
QString chartPlace(const QString& id, const QString& title, const QString& description);
/** The verdict's word with its symbol. */
QString verdictBadge(RunVerdict verdict);
/** The figure, or a dash that screen readers read as "not measured". */
QString latencyCell(const Figure& us);
QString percentCell(const Figure& percent);
