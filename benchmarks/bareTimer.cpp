// bare_timer INTERVAL_MS SECONDS: ticks a second of a precise timer that does nothing but count, in
// a thread that has no other work.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

double ticksPerSecond(int intervalMs, int seconds)
{
    int ticks = 0;
    QEventLoop loop;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, &loop, [&ticks] { ++ticks; });
    QElapsedTimer clock;
    clock.start();
    tick.start(intervalMs);
    QTimer end;
    end.setTimerType(Qt::PreciseTimer);
    QObject::connect(&end, &QTimer::timeout, &loop, &QEventLoop::quit);
    end.start(seconds * 1000);
    loop.exec();
    return ticks * 1000.0 / static_cast<double>(clock.elapsed());
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3)
        return EXIT_FAILURE;
    const QCoreApplication application(argc, argv);
    const int intervalMs = std::atoi(argv[1]);
    const int seconds = std::atoi(argv[2]);
    double rate = 0;
    const std::unique_ptr<QThread> thread(
        QThread::create([&] { rate = ticksPerSecond(intervalMs, seconds); }));
    thread->start();
    thread->wait();
    std::printf("{\"ticksPerSecond\": %f}\n", rate);
}
