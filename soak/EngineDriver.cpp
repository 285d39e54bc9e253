#include "soak/EngineDriver.h"

#include "engine/BraskTestWorker.h"
#include "engine/metaTypes.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>

namespace {

constexpr int pulseMs = 2;
constexpr int answerMs = 20000;

/** The engine, moved already, so that whatever is made with it finds it where it stays. */
BraskTestWorker* engineIn(QThread& thread)
{
    auto* engine = new BraskTestWorker;
    engine->moveToThread(&thread);
    return engine;
}

} // namespace

EngineDriver::EngineDriver() : engine(engineIn(thread)), lineGauge(engine)
{
    registerEngineTypes();
    listen();
    connect(&pulseTimer, &QTimer::timeout, this, &EngineDriver::pulse);
    pulseTimer.setTimerType(Qt::PreciseTimer);
    pulseTimer.start(pulseMs);
    thread.start();
    call("refreshPorts");
    until([this] { return listings > 0; }, answerMs);
}

EngineDriver::~EngineDriver()
{
    thread.quit();
    thread.wait();
}

void EngineDriver::listen()
{
    using Engine = BraskTestWorker;
    connect(&thread, &QThread::finished, engine, &QObject::deleteLater);
    connect(engine, &Engine::connectionChanged, this, [this](bool now) { connected = now; });
    connect(engine, &Engine::errorOccurred, this, [this] { ++failureCount; });
    connect(engine, &Engine::portsEnumerated, this, [this] { ++listings; });
    connect(engine, &Engine::statisticsUpdated, this, &EngineDriver::onStatisticsUpdated);
    connect(engine, &Engine::logMessage, this, [this](const QString& type, const QString& message) {
        if (run.completions > 0)
            return;
        run.addLine(type, message);
        if (events && run.hasStarted())
            events->add(QDateTime::currentDateTime(), type, message);
    });
    connect(engine, &Engine::testCompleted, this, [this] {
        ++run.completions;
        if (events)
            events->close();
    });
}

void EngineDriver::onStatisticsUpdated(TestStats stats)
{
    run.addStats(stats);
}

void EngineDriver::call(const char* slot, QGenericArgument first, QGenericArgument second)
{
    if (!QMetaObject::invokeMethod(engine, slot, Qt::QueuedConnection, first, second))
        qFatal("the engine has no slot %s for these arguments", slot);
}

void EngineDriver::startRun(const TestConfig& config, const QString& eventPath)
{
    run = {};
    events = std::make_unique<EventWriter>();
    events->open(eventPath);
    call("startTest", Q_ARG(TestConfig, config));
}

void EngineDriver::forgetRun()
{
    run = {};
    events.reset();
}

bool EngineDriver::until(const std::function<bool()>& holds, int limitMs)
{
    const QDeadlineTimer deadline(limitMs);
    while (!holds()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void EngineDriver::pass(int ms)
{
    until([] { return false; }, ms);
}
