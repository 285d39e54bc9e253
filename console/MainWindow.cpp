#include "console/MainWindow.h"

#include "console/windowHabits.h"
#include "engine/BraskTestWorker.h"

#include <QCoreApplication>
#include <QGroupBox>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTextEdit>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("Varnott Packet Brask Testing Tool"));
    resize(900, 700);
    registerEngineTypes();
    startEngine();
    setupUi();
    setupConnections();
    workerThread->start();
    populateBaudRates();

    durationDisplayTimer = new QTimer(this);
    connect(durationDisplayTimer, &QTimer::timeout, this, &MainWindow::updateTestDuration);
    statusBar()->showMessage(QStringLiteral("Ready"));
    QTimer::singleShot(100, this, &MainWindow::onRefreshPorts);
}

MainWindow::~MainWindow()
{
    if (isTestRunning)
        QMetaObject::invokeMethod(worker, "stopTest", Qt::BlockingQueuedConnection);
    workerThread->quit();
    workerThread->wait();
    // The engine's last log lines are still queued for this thread and must go into the event file.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    eventFile.close();
}

void MainWindow::startEngine()
{
    workerThread = new QThread(this);
    worker = new BraskTestWorker;
    worker->moveToThread(workerThread);
    connect(workerThread, &QThread::finished, worker, &QObject::deleteLater);
}

void MainWindow::setupUi()
{
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setAlignment(Qt::AlignTop); // used when the window is higher than the groups may grow
    for (QGroupBox* group :
         {createConnectionGroup(), createTestConfigGroup(), createStatisticsGroup()}) {
        // Lets the group grow to one and a half times its first height; more would only move
        // related fields apart.
        group->setMaximumHeight(group->sizeHint().height() * 3 / 2);
        layout->addWidget(group);
    }
    createLogView();
    layout->addWidget(logView);
    setCentralWidget(central);
    setupMenu();
}

void MainWindow::setupMenu()
{
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    connect(file->addAction(QStringLiteral("&Save Log...")), &QAction::triggered, this,
            &MainWindow::saveLog);
    file->addSeparator();
    connect(file->addAction(QStringLiteral("E&xit")), &QAction::triggered, this,
            &MainWindow::close);
    keepStatusText(this);
}

void MainWindow::setupConnections()
{
    connect(refreshButton, &QPushButton::clicked, this, &MainWindow::onRefreshPorts);
    connect(connectButton, &QPushButton::clicked, this, &MainWindow::onConnectClicked);
    connect(startButton, &QPushButton::clicked, this, &MainWindow::onStartTest);
    connect(stopButton, &QPushButton::clicked, this, &MainWindow::onStopTest);
    connect(clearStatsButton, &QPushButton::clicked, this, &MainWindow::onClearStats);

    connect(worker, &BraskTestWorker::statisticsUpdated, this, &MainWindow::onStatisticsUpdated);
    connect(worker, &BraskTestWorker::logMessage, this, &MainWindow::onLogMessage);
    connect(worker, &BraskTestWorker::errorOccurred, this, &MainWindow::onErrorOccurred);
    connect(worker, &BraskTestWorker::testCompleted, this, &MainWindow::onTestCompleted);
    connect(worker, &BraskTestWorker::connectionChanged, this, &MainWindow::onConnectionChanged);
    connect(this, &QObject::destroyed, worker, &BraskTestWorker::cleanup);
    connect(
        worker, &BraskTestWorker::portsEnumerated, this,
        [this](const QList<portInfo>& ports) { showPorts(ports); }, Qt::QueuedConnection);
}

#include "moc_MainWindow.cpp"
