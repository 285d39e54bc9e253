#pragma once

#include "engine/Payload.h"
#include "engine/PendingPacket.h"
#include "engine/TestStats.h"
#include "engine/timing/PingObserver.h"
#include "engine/timing/RunClock.h"
#include "engine/timing/TestConfig.h"
#include "link/vnPortEnumerator.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <memory>
#include <span>

class ByteListener;
class EngineTiming;
class vnPacketComs;
class vnSerialComs;
enum class Awaited;
struct vnPacket;

/**
 * The test engine. It owns the link to the module and runs one stress test at a time over it.
 *
 * It has three states: idle, connected, and running (which includes connected). A run pings the
 * module at a fixed rate, matches every echo to its ping and compares the payloads. It gives up
 * pings that stay unanswered for longer than the time-out. At its end it has counted each ping sent
 * as received or lost.
 *
 * Threads: create the engine without a parent, move it to a thread of its own with a running event
 * loop, and call only its public slots, by queued invocation. Connect to its signals by queued
 * connections. It blocks its thread for 100 ms after opening a port, and for 2 x time-out + 500 ms
 * at the end of a run (or less, depending on its timing). When the line takes no bytes, a send
 * blocks for up to 1.5 s and closing the port for up to 2.7 s. Call registerEngineTypes() before
 * its first use.
 */
class BraskTestWorker : public QObject
{
    Q_OBJECT

public:
    /** Settings of an engine, fixed for its lifetime. */
    struct Setup
    {
        std::unique_ptr<EngineTiming> timing; ///< not null
        PingObserver* observer = nullptr;     ///< not owned, outlives the engine; null: none
        ByteListener* bytes = nullptr;        ///< told of all bytes read; like `observer`
        bool writesScreen = true;             ///< false: nothing is written on the module's screen
        Payload payload{};                    ///< of the pings; each run restarts its sequence
        /** True: a plug that joins both pins replaces the module; pings come back as they are. */
        bool isLoopback = false;
    };

    /** Makes an engine with the window's timing and no observer; it writes the module's screen. */
    explicit BraskTestWorker(QObject* parent = nullptr);
    explicit BraskTestWorker(Setup setup, QObject* parent = nullptr);
    /** Ends a run and closes the port first; emits all signals for that. */
    ~BraskTestWorker() override;

signals:
    /** Every 100 ms during a run, and once at its end, before the summary line. */
    void statisticsUpdated(TestStats stats);
    /**
     * One line for the operator; `type` is "INFO", "SUCCESS", "WARNING", "ERROR" or "TIMEOUT".
     * Sent, echoed and timed-out pings are reported only for the ids 0 to 9 and each multiple of
     * 100. Every failed send, changed echo, error reply, report and ping lost at the end is
     * reported.
     */
    void logMessage(QString type, QString msg);
    /** Once for each connect, disconnect or start that failed. */
    void errorOccurred(QString error);
    /** Once per run, as its last signal. */
    void testCompleted();
    /**
     * Once for each attempt to connect while not connected, and once for each connection that
     * ended.
     */
    void connectionChanged(bool connected);
    /** Once for each refreshPorts(), after its log lines. */
    void portsEnumerated(QList<portInfo> ports);

public slots:
    /** Lists the serial ports; allowed in every state. */
    void refreshPorts();
    /**
     * Opens the device `port` at `baudRate` bits per second. If the engine writes the module's
     * screen, it then clears the screen and rewrites it every second. With a connection already, it
     * only emits a warning line.
     */
    void connectToPort(QString port, int baudRate);
    /** Ends a run, then closes the port. Does nothing without a connection. */
    void disconnectPort();
    /**
     * Begins a run. Emits errorOccurred() without a connection, and only a warning line during a
     * run.
     */
    void startTest(TestConfig config);
    /**
     * Ends the run: waits for late echoes, counts unanswered pings as lost and reports the result.
     * Does nothing without a run.
     */
    void stopTest();
    /** Ends a run and closes the port, each if there is one. */
    void cleanup();

private slots:
    void sendNextPacket();
    void checkTimeouts();
    void pollForPackets();
    void updateLCDDisplay();

private:
    void attachTiming();
    void resetStatistics();
    void recordLatency(qint64 latencyMs);
    void updateSuccessRate();
    static bool isReported(quint64 sequenceId);

    void giveUpAfterTimeout(quint64 id, qint64 atNs);
    void waitForFinalReplies();
    void giveUpPending();

    vnPacket makePing(quint64 sequenceId, int size);
    Awaited awaits(std::span<const uint8_t> bytes) const;
    void handlePacket(const vnPacket& packet);
    void matchEcho(const vnPacket& packet);
    bool isLate(const PendingPacket& ping) const;
    void takeEcho(const vnPacket& packet, const PendingPacket& ping);
    void reportUnmatched(quint64 id);

    void clearLCD();
    void sendLCDText(int row, int column, const QString& text);

    std::unique_ptr<EngineTiming> timing;
    PingObserver nobody;
    PingObserver* observer; ///< not owned; `nobody` if none was given
    bool writesScreen;
    Payload payload;
    uint8_t echoCommand; ///< command of the packets that answer pings
    RunClock clock;      ///< gives all times of a run

    vnSerialComs* serialPort;         ///< child
    vnPacketComs* packetComs;         ///< child, uses serialPort
    vnPortEnumerator* portEnumerator; ///< owned, deleted in the destructor

    bool testRunning = false;
    bool connected = false;
    TestConfig config;
    TestStats stats;
    QMap<quint64, PendingPacket> pendingPackets; ///< key: sequence id
    quint64 nextSequenceId = 0;
};

/**
 * Registers the types used in the engine's slots and signals. Call it before the first engine is
 * created; repeated calls do nothing. Any thread.
 */
void registerEngineTypes();
