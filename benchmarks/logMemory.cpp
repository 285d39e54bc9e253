// bench_log_memory window|bare: memory resident after 50,000 and after 100,000 lines.

#include "benchmarks/LogTarget.h"

#include <QApplication>

#include <cstdio>
#include <fstream>

#include <unistd.h>

namespace {

constexpr int lines = 100000;
constexpr int linesBetweenPaints = 100;

double residentMb()
{
    std::ifstream sizes("/proc/self/statm");
    double total = 0;
    double resident = 0;
    sizes >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    LineSource source;
    const LogTarget target(QCoreApplication::arguments().value(1), source);
    double half = 0;
    for (int i = 1; i <= lines; ++i) {
        emit source.line(QStringLiteral("ERROR"),
                         QStringLiteral("Failed to send packet %1").arg(i));
        if (i % linesBetweenPaints == 0)
            QCoreApplication::processEvents();
        if (i == lines / 2)
            half = residentMb();
    }
    std::printf("{\"halfMb\": %f, \"endMb\": %f}\n", half, residentMb());
}
