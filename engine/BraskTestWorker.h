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
 * The test engine: owns the link to the module and runs one stress test at a time over it.
 *
 * Three states: idle, connected, running (connected too). A run pings the module at a fixed rate,
 * matches every echo to its ping and compares the payloads, gives up pings that stay unanswered
 * for longer than the time-out, and at its end counts each ping it sent as received or lost.
 *
 * Threads: knows nothing of the one it lives in. Make it without a parent, move it to a thread of
 * its own with a running event loop, and reach it by queued invocation of the public slots only;
 * listen by queued connections. It holds up its thread for 100 ms after opening a port, for
 * 2 x time-out + 500 ms at the end of a run (or less, as its timing has it), and up to 1.5 s when
 * the line takes no more bytes, 2.7 s when it is closed then. Call registerEngineTypes() before
 * its first use.
 */
class BraskTestWorker : public QObject
{
    Q_OBJECT

public:
    /** What an engine is given for its life. */
    struct Setup
    {
        std::unique_ptr<EngineTiming> timing; ///< not null
        PingObserver* observer = nullptr;     ///< not owned, outlives the engine; null: none
        ByteListener* bytes = nullptr;        ///< likewise; told of all that is read
        bool writesScreen = true;             ///< false leaves the module's screen alone
        Payload payload{};                    ///< of the pings; each run begins its sequence anew
        /** True: a plug that joins both pins takes the module's place, and pings are the echoes. */
        bool isLoopback = false;
    };

    /** With the window's timing, no observer, and the module's screen in use. */
    explicit BraskTestWorker(QObject* parent = nullptr);
    explicit BraskTestWorker(Setup setup, QObject* parent = nullptr);
    /** Ends a run and closes the port first, with all their signals. */
    ~BraskTestWorker() override;

signals:
    /** Every 100 ms during a run, and once at its end, before the summary line. */
    void statisticsUpdated(TestStats stats);
    /**
     * One line for the operator; `type` is "INFO", "SUCCESS", "WARNING", "ERROR" or "TIMEOUT".
     * Sent, echoed and timed-out pings are reported for the ids 0 to 9 and each multiple of 100;
     * every failed send, changed echo, error reply, report and ping lost at the end is reported.
     */
    void logMessage(QString type, QString msg);
    /** Once for each connection, disconnection or start that failed. */
    void errorOccurred(QString error);
    /** Once a run, as its last signal. */
    void testCompleted();
    /** Once for each connection that was tried while there was none, and for each that ended. */
    void connectionChanged(bool connected);
    /** Once for each refreshPorts(), after its log lines. */
    void portsEnumerated(QList<portInfo> ports);

public slots:
    /** Lists the serial ports; allowed in every state. */
    void refreshPorts();
    /**
     * Opens the device `port` at `baudRate` bits per second, blanks the module's screen and keeps
     * it refreshed from then on. A warning line, and nothing else, when there is a connection.
     */
    void connectToPort(QString port, int baudRate);
    /** Ends a run, then closes the port. Nothing without a connection. */
    void disconnectPort();
    /** Begins a run; an error without a connection, a warning line during a run. */
    void startTest(TestConfig config);
    /** Ends the run: waits for late echoes, counts what stays unanswered as lost, reports. */
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
    PingObserver* observer; ///< not owned; `nobody` where none was given
    bool writesScreen;
    Payload payload;
    uint8_t echoCommand; ///< of the packets that answer pings
    RunClock clock;      ///< tells all times of a run

    vnSerialComs* serialPort;         ///< child
    vnPacketComs* packetComs;         ///< child, speaks over serialPort
    vnPortEnumerator* portEnumerator; ///< owned, deleted in the destructor

    bool testRunning = false;
    bool connected = false;
    TestConfig config;
    TestStats stats;
    QMap<quint64, PendingPacket> pendingPackets; ///< by sequence id
    quint64 nextSequenceId = 0;
};

/**
 * Makes the records that the engine's slots and signals carry known by name. Call it before the
 * first engine is made; repeated calls do nothing. Any thread.
 */
void registerEngineTypes();
