#pragma once

#include "console/EventFile.h"
#include "engine/TestStats.h"
#include "engine/timing/RunClock.h"
#include "link/vnPortEnumerator.h"

#include <QList>
#include <QMainWindow>
#include <QString>

class BraskTestWorker;
class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTextEdit;
class QThread;
class QTimer;

/**
 * The operator's window: connection, test settings, live statistics, log, and the event file that
 * each run writes in the working directory.
 *
 * It lives on the GUI thread; call no function from another thread. It owns the engine's thread and
 * calls the engine only by queued calls, so the engine never blocks the window. The destructor is
 * the exception: it waits until the engine has ended a running test, usually 2 x time-out + 500 ms,
 * and the event file is complete. The window shows modal boxes for wrong input and for engine
 * errors, but none while it is being destroyed.
 */
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /** Starts the engine's thread at once, and the first port scan after 100 ms. */
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

private slots:
    void onRefreshPorts();
    void onConnectClicked();
    void onStartTest();
    void onStopTest();
    void onClearStats();
    void onStatisticsUpdated(TestStats stats);
    void onLogMessage(QString type, QString msg);
    void onErrorOccurred(QString error);
    void onTestCompleted();
    void onConnectionChanged(bool connected);
    void updateTestDuration();

private:
    void startEngine();
    void setupUi();
    void setupMenu();
    void setupConnections();

    QGroupBox* createConnectionGroup();
    void populateBaudRates();
    void showPorts(const QList<portInfo>& ports);
    void updateConnectionState(bool connected);

    QGroupBox* createTestConfigGroup();
    void setTestRunning(bool running);
    void endRecording();

    QGroupBox* createStatisticsGroup();

    void createLogView();
    void appendLog(const QString& type, const QString& msg);
    void trimLog();
    void saveLog();

    // The widgets below are owned by their Qt parents.
    QComboBox* portCombo = nullptr;
    QPushButton* refreshButton = nullptr;
    QComboBox* baudCombo = nullptr;
    QPushButton* connectButton = nullptr;

    QSpinBox* ppsSpin = nullptr;
    QSpinBox* minSizeSpin = nullptr;
    QSpinBox* maxSizeSpin = nullptr;
    QSpinBox* timeoutSpin = nullptr;
    QSpinBox* durationSpin = nullptr;
    QPushButton* startButton = nullptr;
    QPushButton* stopButton = nullptr;
    QPushButton* clearStatsButton = nullptr;

    QLabel* sentLabel = nullptr;
    QLabel* receivedLabel = nullptr;
    QLabel* lostLabel = nullptr;
    QLabel* successRateLabel = nullptr;
    QLabel* avgLatencyLabel = nullptr;
    QLabel* minLatencyLabel = nullptr;
    QLabel* maxLatencyLabel = nullptr;
    QLabel* durationLabel = nullptr;

    QTextEdit* logView = nullptr;

    QThread* workerThread = nullptr; ///< child
    /** Lives in workerThread; deleted there when that thread has finished. */
    BraskTestWorker* worker = nullptr;

    bool isConnected = false;   ///< last state that the engine reported
    bool isTestRunning = false; ///< from the start click until the engine reports the run's end
    TestStats currentStats;     ///< the figures now shown
    SteadyClock steadyClock;
    RunClock clock{steadyClock};            ///< restarted together with the engine's clock
    QTimer* durationDisplayTimer = nullptr; ///< child

    EventFile eventFile; ///< open during a run, unless it could not be created
};
