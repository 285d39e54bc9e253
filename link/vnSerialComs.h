#pragma once

#include "link/SteadyClock.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>
#include <mutex>

/**
 * One serial line: a terminal device opened in raw mode with 8 data bits, no parity and two stop
 * bits.
 *
 * A function that fails returns false and sets lastError(); nothing is logged or thrown.
 *
 * Threads: openPort() and the destructor belong to one owner. While the port is open, one thread
 * may write, another may read, and any thread may close. Writes are serialised; reads are too.
 */
class vnSerialComs : public QObject
{
    Q_OBJECT

public:
    enum SerialError {
        NoError = 0,
        NoPortName = 1, ///< openPort: no name given now or before
        InvalidBaudRate =
            2, ///< openPort: no rate given now or before, or a rate that the line cannot use
        OpenFailed = 3,      ///< openPort: the device cannot be opened; read and write: port closed
        ConfigureFailed = 4, ///< openPort: the device is not a terminal or refused the settings
        TimeoutsFailed = 5,  ///< never set here; the engine has a text for it
        WriteFailed = 6,     ///< writeData: the line did not take all bytes
    };

    /** `portName` (a device path) and `baudRate` are defaults for openPort(); empty and 0: none. */
    vnSerialComs(QObject* parent, const QString& portName, int baudRate);
    /** Closes the port if it is open. */
    ~vnSerialComs() override;

    /**
     * Opens and configures the device. Closes an open port first.
     *
     * An empty `portName` or a `baudRate` of 0 stands for the last one given, here or to the
     * constructor. Given values are remembered even when opening fails. Allowed rates: 1200, 1800,
     * 2400, 4800, 9600, 19200, 38400 and 115200 bits per second.
     *
     * False with NoPortName, InvalidBaudRate, OpenFailed or ConfigureFailed; the port is then
     * closed. OpenFailed also means that another program has locked the port: an open port has an
     * exclusive advisory lock (flock), which programs that do not lock ignore. Does not wait for a
     * carrier. Never makes the device this process's controlling terminal, so that unplugging the
     * adapter does not end the program.
     */
    bool openPort(const QString& portName, int baudRate);

    /**
     * Closes the port. True when it was open, false when there was nothing to close.
     *
     * Waits up to closeWaitMs() for unsent bytes to leave and then discards them, so a line that
     * takes no bytes does not block the caller for longer.
     */
    bool closePort();

    /**
     * Writes `length` bytes, normally one frame of at most 128, in a single write.
     *
     * Waits first for room on the line, at most `writeWaitMs`. If a line stayed full for that time,
     * later calls do not wait until it takes bytes again. False with OpenFailed on a closed port,
     * and with WriteFailed when there was no room or not all bytes were taken. Nothing is retried.
     */
    bool writeData(const uint8_t* bytes, uint32_t length);

    /**
     * Reads the bytes that are ready, at most `size`, without waiting; `bytesRead` is 0 when there
     * are none. A read error or a removed device looks like a line without bytes. False with
     * OpenFailed and `bytesRead` 0 on a closed port only.
     */
    bool readData(uint8_t* buffer, uint32_t size, uint32_t& bytesRead);

    /** Sets the clock for the times below; not owned. Do not call it while the port is open. */
    void setClock(const SteadyClock* steadyClock) { clock = steadyClock; }
    /** Current time of that clock. Any thread. */
    qint64 nowNs() const { return clock->nowNs(); }
    /** Start of the last write, after its wait for room; 0 before the first. Writer's thread. */
    qint64 lastWriteNs() const { return writeNs; }
    /** Total time that all writes have waited for room, in nanoseconds. Writer's thread. */
    qint64 roomWaitNs() const { return waitedNs; }
    /** End of the last read that returned bytes; 0 before the first. Reader's thread. */
    qint64 lastReadNs() const { return readNs; }
    /** Bytes read since construction. Reader's thread. */
    quint64 bytesTaken() const { return taken; }

    /** Descriptor of the open device, for polling only; 0 while the port is closed. */
    int descriptor() const { return fd; }
    bool isOpen() const { return openFlag; }
    /** The SerialError of the last open, read or write. */
    int lastError() const { return error; }

    /**
     * Longest wait of writeData() in milliseconds. A full frame of 128 bytes takes 1174 ms at 1200
     * baud and 11 bits per byte, so a line that takes nothing in this time is stuck.
     */
    static constexpr int writeWaitMs = 1500;
    /**
     * Longest wait of closePort() in milliseconds: the time of a full frame at `baudRate` bits per
     * second plus writeWaitMs. 2673 at 1200 baud, 1512 at 115200.
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
    bool lineStuck = false; ///< the last wait for room timed out; guarded by writeLock

    SteadyClock systemClock;
    const SteadyClock* clock = &systemClock; ///< not owned

    qint64 writeNs = 0;  ///< guarded by writeLock
    qint64 waitedNs = 0; ///< guarded by writeLock
    qint64 readNs = 0;   ///< guarded by readLock, like `taken`
    quint64 taken = 0;
};
