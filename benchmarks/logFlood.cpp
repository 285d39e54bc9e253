// bench_log_flood window|bare: longest time between two turns of the event loop while a thousand
// error lines a second come from another thread into a log that is full, and the number that came.
// The window runs a test meanwhile, so that every line goes into the event file too.

#include "benchmarks/LogTarget.h"
#include "tests/support/ModuleThread.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int fullLog = 10000;
constexpr int floodedLines = 5000;
constexpr unsigned long pauseUs = 1000;

void emitLines(LineSource& source, int count, unsigned long pauseAfterEachUs)
{
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < count; ++i) {
        emit source.line(QStringLiteral("ERROR"),
                         QStringLiteral("Failed to send packet %1").arg(i));
        const qint64 aheadUs =
            static_cast<qint64>(pauseAfterEachUs) * (i + 1) - clock.nsecsElapsed() / 1000;
        if (aheadUs > 0)
            QThread::usleep(static_cast<unsigned long>(aheadUs));
    }
}

void startTest(WindowBench& bench, const QString& line)
{
    if (!bench.connectTo(line))
        qFatal("no connection to the module");
    QTest::mouseClick(bench.button("Start Test"), Qt::LeftButton);
    if (bench.eventFiles().isEmpty())
        qFatal("no event file");
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    LineSource source;
    ModuleThread module;
    const LogTarget target(QCoreApplication::arguments().value(1), source);
    if (target.window() != nullptr)
        startTest(*target.window(), module.path());
    emitLines(source, fullLog, 0);
    QCoreApplication::processEvents();

    QElapsedTimer sinceTurn;
    qint64 longestNs = 0;
    QTimer turn;
    turn.setTimerType(Qt::PreciseTimer);
    QObject::connect(&turn, &QTimer::timeout, &turn, [&] {
        longestNs = std::max(longestNs, sinceTurn.nsecsElapsed());
        sinceTurn.start();
    });
    sinceTurn.start();
    turn.start(1);
    QElapsedTimer total;
    total.start();
    const std::unique_ptr<QThread> flood(
        QThread::create([&source] { emitLines(source, floodedLines, pauseUs); }));
    QObject::connect(flood.get(), &QThread::finished, &application, &QApplication::quit);
    flood->start();
    QApplication::exec();
    flood->wait();
    std::printf("{\"longestGapMs\": %f, \"linesPerSecond\": %f}\n",
                static_cast<double>(longestNs) / 1e6,
                floodedLines * 1000.0 / static_cast<double>(total.elapsed()));
}
