#pragma once

#include <QtGlobal>

#include <memory>
#include <optional>
#include <vector>

/**
 * A histogram of times. Each bin's width is at most 2 % of its lower end; memory use is constant.
 *
 * The bins reach from 1 us to 30 s. One more bin from 0 takes shorter times, and another one takes
 * longer times and ends at the longest. Figures are in microseconds. Count, minimum, maximum, mean
 * and standard deviation do not depend on the bins.
 *
 * Not locked: one thread at a time. Only the constructor and bins() allocate memory. An object that
 * was moved from may only be destroyed or assigned to.
 */
class LatencyHistogram
{
public:
    struct Bin
    {
        double lowerUs;
        double upperUs; ///< exclusive, except in the bin of times beyond 30 s
        quint64 count;  ///< at least 1
    };

    LatencyHistogram();
    ~LatencyHistogram();
    LatencyHistogram(LatencyHistogram&&) noexcept;
    LatencyHistogram& operator=(LatencyHistogram&&) noexcept;

    /** Counts a negative time as 0. */
    void add(qint64 timeNs);
    void merge(const LatencyHistogram& other);
    void clear();

    quint64 count() const { return total; }
    // All are 0 while nothing has been counted.
    double minimumUs() const { return least; }
    double maximumUs() const { return greatest; }
    double meanUs() const { return mean; }
    /** Standard deviation of the population, not estimated from a sample; 0 for a single time. */
    double standardDeviationUs() const;

    /**
     * Returns the time that the share `q`, 0 to 1, of all times does not exceed. It is interpolated
     * linearly within the right bin and limited to the minimum and maximum. No value when empty.
     */
    std::optional<double> percentileUs(double q) const;
    /** Returns the bins that are not empty, shortest times first. */
    std::vector<Bin> bins() const;

private:
    struct Counts;
    std::unique_ptr<Counts> counts;
    quint64 total = 0;
    double least = 0;
    double greatest = 0;
    double mean = 0;
    double squares = 0; ///< sum of the squared distances from the mean
};
