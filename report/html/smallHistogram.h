#pragma once

#include "report/read/Run.h"

/** Small images of histograms that share one logarithmic time axis. */
class SmallHistogram
{
public:
    /** The axis covers the round trips of all `runs`. */
    explicit SmallHistogram(const std::vector<Run>& runs);

    /**
     * Returns an SVG element; its accessible name contains the run's shortest and longest round
     * trip.
     */
    QString svg(const Run& run) const;
    double shortestUs() const { return shortest; }
    double longestUs() const { return longest; }

private:
    double shortest = 1;
    double longest = 10;
};
