#pragma once

#include "link/SteadyClock.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>
#include <mutex>

/**
 * One serial line: a terminal device opened raw, with 8 data bits, no parity and two stop bits.
 *
 * Failures are a false result and a code in lastError(); nothing is logged or thrown.
 *
 * Threads: openPort() and the destructor belong to one owner. While the port is open, one thread
 * may write and another read, and any thread may close: writes exclude one another, reads too.
 */
class vnSerialComs : public QObject
{
    Q_OBJECT

public:
    enum SerialError {
        NoError = 0,
        NoPortName = 1, ///< openPort: no name given, none remembered
        InvalidBaudRate =
            2,          ///< openPort: no rate given or remembered, or one the line cannot run at
        OpenFailed = 3, ///< openPort: the device did not open; read and write: port closed
        ConfigureFailed = 4, ///< openPort: the device is no terminal or refused the settings
        TimeoutsFailed = 5,  ///< never set here; part of the vocabulary that operators are told
        WriteFailed = 6,     ///< writeData: the line did not take every byte
    };

    /** `portName` (a device path) and `baudRate` serve a later openPort(); empty and 0 mean none.
     */
    vnSerialComs(QObject* parent, const QString& portName, int baudRate);
    /** Closes the port if it is open. */
    ~vnSerialComs() override;

    /**
     * Opens and configures the device, closing first what was open.
     *
     * An empty `portName` or a `baudRate` of 0 stands for the last one given, here or to the
     * constructor; what is given is remembered even when opening fails. Rates: 1200, 1800, 2400,
     * 4800, 9600, 19200, 38400 and 115200 bits per second, no other.
     *
     * False with NoPortName, InvalidBaudRate, OpenFailed or ConfigureFailed; the port is then
     * closed. OpenFailed is also the answer when another program of this kind has the port: an
     * open port carries an exclusive advisory lock (flock), which programs that take none pass
     * over. Does not wait for a carrier, and never makes the device this process's controlling
     * terminal, so that an adapter pulled out does not take the program with it.
     */
    bool openPort(const QString& portName, int baudRate);

    /**
     * True when the port was open and is now closed, false when there was nothing to close.
     *
     * What is still unsent has closeWaitMs() to leave, and is thrown away when it has not: a line
     * that takes no bytes does not hold its owner up for longer.
     */
    bool closePort();

    /**
     * Writes `length` bytes, meant for one frame of at most 128, in a single write.
     *
     * Waits for room on the line first, at most `writeWaitMs`; once a line has stayed full for so
     * long, later calls do not wait again until it takes bytes. False with OpenFailed on a closed
     * port, WriteFailed when there was no room or not every byte was taken; nothing is retried.
     */
    bool writeData(const uint8_t* bytes, uint32_t length);

    /**
     * Reads what is ready, at most `size` bytes, without waiting; `bytesRead` is 0 when nothing is.
     * A read error and a device that went away look like a quiet line. False with OpenFailed, and
     * `bytesRead` 0, on a closed port only.
     */
    bool readData(uint8_t* buffer, uint32_t size, uint32_t& bytesRead);

    /** `steadyClock` takes the moments below from now on; not owned. Not while the port is open. */
    void setClock(const SteadyClock* steadyClock) { clock = steadyClock; }
    /** What that clock tells now. Any thread. */
    qint64 nowNs() const { return clock->nowNs(); }
    /** When the last write began, after its wait for room; 0 before the first. Writer's thread. */
    qint64 lastWriteNs() const { return writeNs; }
    /** For how long all writes so far have waited for room, in sum. Writer's thread. */
    qint64 roomWaitNs() const { return waitedNs; }
    /** When the last read that brought bytes had returned; 0 before it. Reader's thread. */
    qint64 lastReadNs() const { return readNs; }
    /** Bytes read since construction. Reader's thread. */
    quint64 bytesTaken() const { return taken; }

    /** The open device, to be watched only; 0 while the port is closed. */
    int descriptor() const { return fd; }
    bool isOpen() const { return openFlag; }
    /** The SerialError of the last open, read or write. */
    int lastError() const { return error; }

    /**
     * Longest wait of writeData() in milliseconds: a full frame of 128 bytes at 1200 baud and 11
     * bits a byte takes 1174 ms to leave, and a line that moves nothing in that time is stuck.
     */
    static constexpr int writeWaitMs = 1500;
    /**
     * Longest wait of closePort() in milliseconds: what a full frame takes at `baudRate` bits per
     * second, and writeWaitMs. 2673 at 1200 baud, 1512 at 115200.
     */
    static int closeWaitMs(int baudRate);

private:
    bool configure(int descriptor);
    bool waitUntilWritable();

    int fd = 0; ///< 0: none
    QString portName;
    int baudRate;
    std::atomic<int> error = NoError;
    std::atomic<bool> openFlag = false;
    std::mutex writeLock;
    std::mutex readLock;
    bool lineStuck = false; ///< the last wait for room ran out; guarded by writeLock

    SteadyClock systemClock;
    const SteadyClock* clock = &systemClock; ///< not owned

    qint64 writeNs = 0;  ///< guarded by writeLock
    qint64 waitedNs = 0; ///< likewise
    qint64 readNs = 0;   ///< guarded by readLock, like what follows
    quint64 taken = 0;
};
