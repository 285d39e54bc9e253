#pragma once

#include <QtGlobal>

#include <memory>
#include <optional>
#include <vector>

/**
 * Counts times by bins that are no wider than 2 % of their lower end, in memory that never grows.
 *
 * The bins reach from 1 us to 30 s. One more takes what is shorter and begins at 0, another takes
 * what is longer and ends at the longest time. Figures are in microseconds. Count, minimum,
 * maximum, mean and standard deviation do not depend on the bins.
 *
 * Not locked: one thread at a time. Allocates in the constructor only, bins() aside. One that was
 * moved from may only be destroyed or assigned to.
 */
class LatencyHistogram
{
public:
    struct Bin
    {
        double lowerUs;
        double upperUs; ///< times of exactly this length are in the next bin
        quint64 count;  ///< at least 1
    };

    LatencyHistogram();
    ~LatencyHistogram();
    LatencyHistogram(LatencyHistogram&&) noexcept;
    LatencyHistogram& operator=(LatencyHistogram&&) noexcept;

    /** Takes a negative time for 0. */
    void add(qint64 timeNs);
    void merge(const LatencyHistogram& other);
    void clear();

    quint64 count() const { return total; }
    // All 0 while nothing has been counted.
    double minimumUs() const { return least; }
    double maximumUs() const { return greatest; }
    double meanUs() const { return mean; }
    /** Of the times counted, as of a whole population and not a sample: of one time it is 0. */
    double standardDeviationUs() const;

    /**
     * The time that the share `q`, 0 to 1, of all times does not exceed. It lies in the right bin,
     * between its ends in proportion, and never beyond minimum or maximum. Nothing when empty.
     */
    std::optional<double> percentileUs(double q) const;
    /** The bins that are not empty, shortest times first. */
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
