#include "soak/EngineBench.h"

#include "engine/timing/ExactTiming.h"
#include "engine/timing/WindowTiming.h"
#include "engine/timing/wallTime.h"

#include <QDeadlineTimer>

#include <sys/ioctl.h>

namespace {

/** The window's timing; also tells how many bytes wait when the engine comes to read them. */
struct GaugedTiming final : WindowTiming
{
    std::unique_ptr<RunAccount>& run;
    std::function<bool()> look;

    explicit GaugedTiming(std::unique_ptr<RunAccount>& account) : run(account) {}
    void beginRun(const TestConfig& config, int line) override
    {
        look = look ? look : callbacks.look;
        callbacks.look = [this, line] {
            int waiting = 0;
            if (::ioctl(line, FIONREAD, &waiting) == 0)
                run->peakBytes = std::max(run->peakBytes, waiting);
            return look();
        };
        WindowTiming::beginRun(config, line);
    }
};

} // namespace

EngineBench::EngineBench(bool exactTiming) : isExact(exactTiming), run(new RunAccount)
{
    using Engine = BraskTestWorker;
    Engine::Setup setup{.timing = std::make_unique<ExactTiming>(), .observer = this};
    if (!isExact)
        setup.timing = std::make_unique<GaugedTiming>(run);
    engine = new Engine(std::move(setup));
    engine->moveToThread(&thread);
    runner.moveToThread(&thread);
    const auto hear = [this](auto signal, const auto& deed) {
        QObject::connect(engine, signal, engine, deed);
    };
    hear(&Engine::connectionChanged, [this](bool is) { isConnected = is; });
    hear(&Engine::errorOccurred, [this] { ++failures; });
    hear(&Engine::statisticsUpdated, [this](const TestStats& now) {
        const TestStats last = std::exchange(run->stats, now);
        run->statsAgree &= now.packetsSent >= last.packetsSent &&
                           now.packetsReceived >= last.packetsReceived &&
                           now.packetsLost >= last.packetsLost &&
                           now.packetsReceived + now.packetsLost <= now.packetsSent;
    });
    hear(&Engine::testCompleted, [this] { hasEnded = ++run->completions > 0; });
    hear(&Engine::logMessage, [this](const QString& type, const QString& message) {
        if (run->completions > 0 || (run->lines.isEmpty() && message != u"Test started"))
            return;
        run->lines.append({type, message});
        run->events.add(wallTime(), type, message);
    });
    thread.start();
    have(&Engine::refreshPorts); // the thread takes what it needs
}

EngineBench::~EngineBench()
{
    runner.run([this] { delete engine; });
    thread.quit();
    thread.wait();
}

void EngineBench::have(const std::function<void(BraskTestWorker& it)>& deed)
{
    runner.run([&] { deed(*engine); });
}

void EngineBench::startRun(const TestConfig& config, const QString& eventPath)
{
    hasEnded = false;
    have([&](BraskTestWorker& it) {
        run = std::make_unique<RunAccount>();
        run->config = config;
        run->isExact = isExact;
        run->events.open(eventPath);
        it.startTest(config);
    });
}

std::unique_ptr<RunAccount> EngineBench::takeRun()
{
    for (const QDeadlineTimer patience(20000); !hasEnded && !patience.hasExpired();)
        QThread::msleep(2);
    auto taken = std::make_unique<RunAccount>();
    runner.run([&] { taken.swap(run); });
    taken->events.close();
    return taken;
}
