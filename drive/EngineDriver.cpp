#include "drive/EngineDriver.h"

#include "engine/BraskTestWorker.h"
#include "port/openFault.h"

#include <QCoreApplication>

EngineDriver::EngineDriver(const Setup& setup, QObject* parent)
    : QObject(parent), observer(setup.pings, setup.timeoutMs), worker(makeEngine(setup, observer))
{
    registerEngineTypes();
    startEngine();
}

EngineDriver::~EngineDriver()
{
    thread.quit();
    thread.wait();
}

BraskTestWorker* EngineDriver::makeEngine(const Setup& asked, RunObserver& observer)
{
    BraskTestWorker::Setup setup;
    setup.timing = makeTiming(asked.timing);
    setup.observer = &observer;
    setup.bytes = &observer;
    setup.writesScreen = asked.writesScreen;
    setup.payload = asked.payload;
    setup.isLoopback = asked.isLoopback;
    return new BraskTestWorker(std::move(setup));
}

void EngineDriver::startEngine()
{
    worker->moveToThread(&thread);
    connect(&thread, &QThread::finished, worker, &QObject::deleteLater);
    connect(worker, &BraskTestWorker::connectionChanged, this, &EngineDriver::onConnectionChanged);
    connect(worker, &BraskTestWorker::errorOccurred, this, &EngineDriver::onErrorOccurred);
    connect(worker, &BraskTestWorker::logMessage, this, &EngineDriver::logMessage);
    connect(worker, &BraskTestWorker::testCompleted, this, &EngineDriver::runEnded);
    connect(worker, &BraskTestWorker::statisticsUpdated, this, &EngineDriver::onStatisticsUpdated);
    // Queued explicitly: emitted on the engine's thread, although the observer lives in this one.
    connect(&observer, &RunObserver::began, this, &EngineDriver::runBegan, Qt::QueuedConnection);
    connect(&observer, &RunObserver::stoppedSending, this, &EngineDriver::stoppedSending,
            Qt::QueuedConnection);
    connect(&observer, &RunObserver::repliedWithoutCode, this, &EngineDriver::repliedWithoutCode,
            Qt::QueuedConnection);
    connect(&observer, &RunObserver::lineLost, this, &EngineDriver::lineLost, Qt::QueuedConnection);
    thread.start();
}

void EngineDriver::connectToPort(const QString& port, int baudRate)
{
    portPath = port;
    QMetaObject::invokeMethod(worker, "connectToPort", Q_ARG(QString, port), Q_ARG(int, baudRate));
}

void EngineDriver::startRun(const TestConfig& config)
{
    QMetaObject::invokeMethod(worker, "startTest", Q_ARG(TestConfig, config));
}

void EngineDriver::endRun()
{
    QMetaObject::invokeMethod(worker, "stopTest");
}

void EngineDriver::disconnectPort()
{
    stage = Stage::Disconnecting;
    QMetaObject::invokeMethod(worker, "disconnectPort");
}

void EngineDriver::onConnectionChanged(bool isConnected)
{
    if (isConnected) {
        stage = Stage::Connected;
        emit connected();
    } else if (stage == Stage::Disconnecting) {
        thread.quit();
        thread.wait();
        // The engine emits one more log line, which may still be queued.
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
        emit disconnected();
    } else {
        const QString reason = openFault(portPath);
        const QString where =
            reason.isEmpty() ? portPath : portPath + QStringLiteral(": ") + reason;
        emit notConnected(QStringLiteral("%1 (%2)").arg(connectError, where));
    }
}

void EngineDriver::onErrorOccurred(const QString& error)
{
    if (stage == Stage::Connecting)
        connectError = error;
    else
        emit errorOccurred(error);
}

void EngineDriver::onStatisticsUpdated(TestStats stats)
{
    lastStats = stats;
    emit statsUpdated();
}

#include "moc_EngineDriver.cpp"
