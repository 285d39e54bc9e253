// bench_log_cost: what a line costs the window's log and the bare one at 0, 5,000 and 10,000 lines
// shown, and what a trim costs. The two take turns every hundred lines, so that a busy machine
// slows both. A figure is the least of several, in processor time of the GUI thread without
// painting; what there is to paint is painted in between.

#include "benchmarks/LogTarget.h"

#include <QApplication>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace {

constexpr int batch = 100;
constexpr int batchesAtAPoint = 5;
constexpr int maximumLines = 10000;
constexpr int rounds = 8;
constexpr int emptyRounds = 40; // cheap, and the shortest lines are the easiest to disturb
constexpr int trims = 24;

double threadMicroseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

class Meter
{
public:
    explicit Meter(const QString& kind) : target(kind, source) {}

    void clear() { target.view()->clear(); }

    /** Processor time of `lines` more lines, in microseconds. */
    double add(int lines)
    {
        const double start = threadMicroseconds();
        for (int i = 0; i < lines; ++i)
            emit source.line(QStringLiteral("ERROR"),
                             QStringLiteral("Failed to send packet %1").arg(added++));
        const double cost = threadMicroseconds() - start;
        QCoreApplication::processEvents();
        return cost;
    }

    int shown() const
    {
        const QTextDocument* document = target.view()->document();
        return document->isEmpty() ? 0 : document->blockCount();
    }

private:
    LineSource source;
    LogTarget target;
    int added = 0;
};

/** The window's and the bare log, in this order. */
using Meters = std::array<Meter, 2>;
using Costs = std::array<double, 2>;

constexpr Costs none{1e9, 1e9};

void keepLeast(Meters& meters, int lines, Costs& least)
{
    for (std::size_t i = 0; i < meters.size(); ++i)
        least.at(i) = std::min(least.at(i), meters.at(i).add(lines));
}

void fillTo(Meters& meters, int lines)
{
    for (Meter& meter : meters) {
        while (meter.shown() < lines)
            meter.add(std::min(batch, lines - meter.shown()));
    }
}

void measureFrom(Meters& meters, int lines, Costs& least)
{
    fillTo(meters, lines);
    for (int i = 0; i < batchesAtAPoint; ++i)
        keepLeast(meters, batch, least);
}

void print(const char* name, const Costs& least, double divisor, const char* end)
{
    std::printf("\"%s\": [%f, %f]%s", name, least[0] / divisor, least[1] / divisor, end);
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    Meters meters{Meter("window"), Meter("bare")};
    Costs empty = none;
    Costs half = none;
    Costs full = none;
    Costs trim = none;
    const auto clear = [&meters] {
        for (Meter& meter : meters)
            meter.clear();
    };
    for (int round = 0; round < emptyRounds; ++round) {
        clear();
        measureFrom(meters, 0, empty);
    }
    for (int round = 0; round < rounds; ++round) {
        clear();
        measureFrom(meters, maximumLines / 2, half);
    }
    for (int round = 0; round < trims; ++round) {
        measureFrom(meters, maximumLines - batch * batchesAtAPoint, full);
        keepLeast(meters, 1, trim);
    }
    std::printf("{");
    print("usAt0", empty, batch, ", ");
    print("usAt5000", half, batch, ", ");
    print("usAt10000", full, batch, ", ");
    print("msOfTrim", trim, 1000, "}\n");
}
