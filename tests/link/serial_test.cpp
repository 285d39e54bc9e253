#include "link/boundedClose.h"
#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"
#include "tests/support/SystemHand.h"
#include "tests/support/contentsOf.h"
#include "tests/support/processes.h"

#include <QtTest>

#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Serial = vnSerialComs;
template <typename... Columns> using Rows = std::initializer_list<std::tuple<Columns...>>;

bool writeFrame(Serial& port)
{
    const std::array<uint8_t, 77> bytes{};
    return port.writeData(bytes.data(), bytes.size());
}

/** How many bytes came; -1 when reading failed. */
int readChunk(Serial& port)
{
    std::array<uint8_t, 32> chunk{};
    uint32_t bytesRead = 99;
    const bool isRead = port.readData(chunk.data(), chunk.size(), bytesRead);
    return isRead ? int(bytesRead) : bytesRead == 0 ? -1 : -2;
}

/** An open port whose line answers by a script: a negative number is a failure's code. */
struct ScriptedPort : SteadyClock
{
    RawLine line;
    Serial port{nullptr, line.path(), 9600};
    QList<int> script;
    QByteArray asked;
    qint64 askedNs = 0; ///< every question takes as long
    SystemHand hand;

    ScriptedPort()
    {
        port.setClock(this);
        port.openPort({}, 0);
        hand.poll = [this](const pollfd* polled, nfds_t count, int timeoutMs) {
            const bool waits = timeoutMs > 1000 && timeoutMs <= Serial::writeWaitMs;
            const QByteArray how = timeoutMs == 0 ? "look" : waits ? "wait" : "?";
            return answer(QByteArray::number(polled->events) + how, polled->fd, count - 1);
        };
        hand.write = [this](int fd, auto, size_t size) { return answer("write", fd, size - 77); };
        hand.read = [this](int fd, auto, size_t size) { return answer("read", fd, size - 32); };
    }
    qint64 nowNs() const override { return askedNs; }
    int answer(const QByteArray& question, int fd, size_t wrong)
    {
        asked += (fd == port.descriptor() && wrong == 0 ? question : "?") + ' ';
        ++askedNs;
        const int value = script.isEmpty() ? 0 : script.takeFirst();
        return value < 0 ? failure(-value) : value;
    }
};

} // namespace

class SerialTest : public QObject
{
    Q_OBJECT

private slots:
    /** From all off and from all on; a pseudo-terminal would keep some settings as they are. */
    void setsTheLine()
    {
        const RawLine line;
        Serial port(nullptr, line.path(), 0);
        termios before = {};
        termios after = {};
        SystemHand hand;
        hand.tcgetattr = [&](int, termios* settings) { return *settings = before, 0; };
        hand.tcsetattr = [&](int fd, int when, const termios* settings) {
            after = *settings;
            return fd > 2 && when == TCSANOW ? 0 : failure(EINVAL);
        };
        constexpr tcflag_t rateBits = CBAUD | CIBAUD;
        constexpr tcflag_t inputRateBit = 0x80000000; // the C library's own
        const Rows<int, speed_t> rows{{1200, B1200},   {1800, B1800},    {2400, B2400},
                                      {4800, B4800},   {9600, B9600},    {19200, B19200},
                                      {38400, B38400}, {115200, B115200}};
        QStringList offered;
        for (int rate = 300; rate < 1'000'000; rate += 300)
            if (port.openPort({}, rate))
                offered += QString::number(rate);
        const QString text = contentsOf(PROTOCOL).replace(" or", ",");
        QVERIFY(text.contains("runs at " + offered.join(", ") + " bits per second"));
        for (const bool on : {false, true}) {
            std::memset(&before, on ? 0xFF : 0, sizeof before);
            for (const auto& [rate, speed] : rows) {
                QVERIFY(port.openPort({}, rate));
                QVERIFY(cfgetospeed(&after) == speed && cfgetispeed(&after) == speed);
                QCOMPARE(after.c_iflag & ~inputRateBit, on ? 0x7FFFC004 : tcflag_t{IGNPAR});
                QCOMPARE(after.c_oflag, on ? 0xFFFF0000 : tcflag_t{0});
                QCOMPARE(after.c_cflag | rateBits,
                         (on ? 0x7FFFF8FF : tcflag_t{CS8 | CSTOPB | CREAD | CLOCAL}) | rateBits);
                QCOMPARE(after.c_lflag, on ? 0xFFFF2FF4 : tcflag_t{NOFLSH});
                QVERIFY(std::equal(std::begin(after.c_cc), std::end(after.c_cc), before.c_cc));
            }
        }
    }

    void opensOrSaysWhyNot()
    {
        const RawLine line;
        int flags = 0;
        int trouble = 0;
        QList<int> closed;
        SystemHand hand;
        hand.open = [&](auto path, int how, auto) {
            return trouble == ENXIO ? 0 : ::openat(0, path, flags = how);
        };
        hand.close = [&](int fd) {
            return closed += fd, fd == 0 ? 0 : int(::syscall(SYS_close, fd));
        };
        hand.flock = [&](int, int how) {
            return failure(how == (LOCK_EX | LOCK_NB) ? trouble : EWOULDBLOCK);
        };
        hand.tcsetattr = [&](auto...) { return trouble == EIO ? failure(EIO) : 0; };
        const auto use = processUse();
        Serial port(nullptr, QString(), 0);
        const Rows<QString, int, int, int> rows{
            {"", 0, 0, Serial::NoPortName},
            {line.path(), 0, 0, Serial::InvalidBaudRate},
            {"/nowhere", 115200, 0, Serial::OpenFailed},
            {"/dev/null", 0, 0, Serial::ConfigureFailed},
            {line.path(), 0, ENOLCK, Serial::NoError}, // it knows no locks
            {"", 0, EWOULDBLOCK, Serial::OpenFailed},
            {"", 0, EIO, Serial::ConfigureFailed},
            {"", 0, ENXIO, Serial::OpenFailed}, // 0 is free, and stands for none
            {"", 1200, 0, Serial::NoError},
            {"", 0, 0, Serial::NoError}};
        for (const auto& [path, rate, code, error] : rows) {
            trouble = code;
            QCOMPARE(port.openPort(path, rate), error == Serial::NoError);
            QCOMPARE(port.lastError(), error);
            QVERIFY(port.isOpen() == !error && (port.descriptor() != 0) == !error);
            QCOMPARE(processUse().first, use.first + !error);
        }
        QCOMPARE(closed.count(0), 1);
        QCOMPARE(flags, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        QCOMPARE(fcntl(port.descriptor(), F_GETFL) & (O_NONBLOCK | O_ACCMODE), O_RDWR);
        QVERIFY(port.closePort() && !port.closePort());
        QVERIFY(readChunk(port) == -1 && port.lastError() == Serial::OpenFailed);
        QVERIFY(port.openPort({}, 0) && port.closePort());
        QVERIFY(!writeFrame(port) && port.lastError() == Serial::OpenFailed);
        QVERIFY(Serial(nullptr, line.path(), 9600).openPort({}, 0));
        QCOMPARE(processUse(), use);
    }

    void writesOnceAndReadsWhatIsReady()
    {
        ScriptedPort scripted;
        Serial& port = scripted.port;
        quint64 taken = 0;
        qint64 readNs = 0, waitNs = 0;
        const Rows<QList<int>, QByteArray, int> rows{
            {{1, 77}, "4wait write ", 1},
            {{1, 76}, "4wait write ", 0},
            {{-EINTR, -EINTR, 1, 77}, "4wait 4wait 4wait write ", 1},
            {{0}, "4wait ", 0}, // the line is stuck
            {{0}, "4look ", 0},
            {{1, 77}, "4look write ", 1},
            {{-EIO}, "4wait ", 0},
            {{0}, "4wait ", 0},
            {{}, "", 1}, // opened again
            {{1, -EIO}, "4wait write ", 0},
            {{1, 5}, "3look read ", 5},
            {{1, -EIO}, "3look read ", 0},
            {{1, 0}, "3look read ", 0}, // the device went away
            {{-EINTR, 32}, "3look read ", 32}};
        for (const auto& [script, asked, result] : rows) {
            scripted.script = script;
            scripted.asked.clear();
            const bool reads = asked.startsWith("3");
            QCOMPARE(reads              ? readChunk(port)
                     : script.isEmpty() ? port.openPort({}, 0)
                                        : writeFrame(port),
                     result);
            QCOMPARE(scripted.asked, asked);
            QCOMPARE(port.lastError(), reads || result ? Serial::NoError : Serial::WriteFailed);
            QVERIFY(reads || asked.isEmpty() ||
                    port.lastWriteNs() == scripted.askedNs - asked.contains("write"));
            QCOMPARE(port.roomWaitNs(), waitNs += asked.count('4'));
            readNs = reads && result ? scripted.askedNs : readNs;
            QCOMPARE(port.lastReadNs(), readNs);
            QCOMPARE(port.bytesTaken(), taken += reads ? unsigned(result) : 0);
        }
    }

    /** What is left to send, what a flush leaves of it, and what is asked of the system. */
    void closesInBoundedTime()
    {
        constexpr int forEver = 1000;
        int descriptor = 77;
        int unsent = 0;
        QByteArray calls;
        SystemHand hand;
        hand.ioctl = [&](int fd, unsigned long request, void* count) {
            *static_cast<int*>(count) = std::abs(unsent);
            unsent -= unsent > 0 && unsent < forEver;
            return fd == descriptor && request == TIOCOUTQ && unsent >= 0 ? 0 : failure(EIO);
        };
        hand.close = [&](int fd) {
            calls += fd == 77 ? "close " : "?";
            for (int i = 0; i < 2 && unsent == forEver; ++i)
                calls += ::usleep(900'000) < 0 ? "cut " : "?";
            return 0;
        };
        const Rows<int, int, QByteArray> rows{{0, 0, "close "},
                                              {-1, 0, "close "}, // the driver does not tell
                                              {2, 0, "close "},
                                              {forEver, 0, "flush close "},
                                              {forEver, forEver, "flush close cut cut "}};
        const int signal = SIGRTMAX - 2;
        sigset_t blocked = {};
        sigaddset(&blocked, signal);
        pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
        const sighandler_t handler = [](int) {};
        std::signal(signal, handler);
        QElapsedTimer clock;
        for (const auto& [left, flushed, asked] : rows) {
            hand.tcflush = [&, rest = flushed](int fd, int queue) {
                calls += fd == descriptor && queue == TCOFLUSH ? "flush " : "?";
                return unsent = rest, 0;
            };
            calls.clear();
            unsent = left;
            clock.start();
            closeWithin(77, left < forEver ? 60'000 : 21);
            QVERIFY(left < forEver || clock.elapsed() >= 21);
            QCOMPARE(calls, asked);
            ::usleep(12'000); // in which no signal may come
            QVERIFY(sigpending(&blocked) == 0 && !sigismember(&blocked, signal));
            pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
            QVERIFY(sigismember(&blocked, signal) && std::signal(signal, handler) == handler);
        }
        hand.close = nullptr;
        hand.tcflush = nullptr;
        const RawLine line;
        Serial port(nullptr, line.path(), 115200);
        QVERIFY(port.openPort({}, 0));
        descriptor = port.descriptor();
        unsent = forEver;
        clock.start();
        QVERIFY(port.closePort() && clock.elapsed() >= 1512 && clock.elapsed() < 2673);
        QVERIFY(Serial::closeWaitMs(115200) == 1512 && Serial::closeWaitMs(1200) == 2673);
    }
};

QTEST_GUILESS_MAIN(SerialTest)
#include "serial_test.moc"
