#pragma once

#include "report/read/Run.h"

/** Small pictures of histograms that share one logarithmic axis of time. */
class SmallHistogram
{
public:
    /** The axis is as long as all of `runs` need. */
    explicit SmallHistogram(const std::vector<Run>& runs);

    /** An SVG element; its name tells the run's shortest and longest round trip. */
    QString svg(const Run& run) const;
    double shortestUs() const { return shortest; }
    double longestUs() const { return longest; }

private:
    double shortest = 1;
    double longest = 10;
};
