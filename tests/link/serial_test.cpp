#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"

#include <QElapsedTimer>
#include <QTest>

#include <fcntl.h>
#include <termios.h>

namespace {

bool writeFrame(vnSerialComs& port, qsizetype size)
{
    const QByteArray bytes(size, 'x');
    return port.writeData(reinterpret_cast<const uint8_t*>(bytes.constData()),
                          static_cast<uint32_t>(size));
}

} // namespace

class SerialTest : public QObject
{
    Q_OBJECT

private slots:
    void setsTheLine()
    {
        const QList<std::pair<int, speed_t>> rates{
            {1200, B1200}, {1800, B1800},   {2400, B2400},   {4800, B4800},
            {9600, B9600}, {19200, B19200}, {38400, B38400}, {115200, B115200}};
        const RawLine line;
        termios before = {};
        tcgetattr(line.otherEnd(), &before);
        before.c_iflag |= ICRNL | IXON | ISTRIP | BRKINT | IGNBRK;
        before.c_oflag |= OPOST | ONLCR;
        before.c_cflag |= CRTSCTS | HUPCL;
        before.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
        before.c_lflag |= ICANON | ECHO | ISIG | IEXTEN | TOSTOP;
        vnSerialComs port(nullptr, line.path(), 0);
        for (const auto& [rate, speed] : rates) {
            tcsetattr(line.otherEnd(), TCSANOW, &before);
            QVERIFY(port.openPort(QString(), rate));
            termios now = {};
            tcgetattr(line.otherEnd(), &now);
            QCOMPARE(cfgetospeed(&now), speed);
            QCOMPARE(cfgetispeed(&now), speed);
            QCOMPARE(now.c_iflag & (ICRNL | IXON | ISTRIP | BRKINT | IGNBRK | IGNPAR),
                     tcflag_t{IGNPAR});
            QCOMPARE(now.c_oflag, tcflag_t{0});
            // A pseudo-terminal has 8 bits and no parity of its own accord.
            QCOMPARE(now.c_cflag & (CSTOPB | CREAD | CLOCAL | HUPCL | CRTSCTS),
                     tcflag_t{CSTOPB | CREAD | CLOCAL});
            QCOMPARE(now.c_lflag & (ICANON | ECHO | ISIG | IEXTEN | NOFLSH | TOSTOP),
                     tcflag_t{NOFLSH | TOSTOP});
            QVERIFY(std::equal(std::begin(now.c_cc), std::end(now.c_cc), std::begin(before.c_cc)));
        }
    }

    void remembersTheLastPort()
    {
        RawLine line;
        vnSerialComs port(nullptr, QString(), 0);
        QVERIFY(port.openPort(line.path(), 115200) && port.closePort() && !port.closePort());
        uint32_t bytesRead = 7;
        uint8_t byte = 0;
        QVERIFY(!port.readData(&byte, 1, bytesRead) && !writeFrame(port, 4));
        QCOMPARE(bytesRead, 0U);
        QCOMPARE(port.lastError(), int(vnSerialComs::OpenFailed));

        QVERIFY(port.openPort(QString(), 0));
        QCOMPARE(port.lastError(), int(vnSerialComs::NoError));
        QVERIFY(writeFrame(port, 128));
        QCOMPARE(line.take(128), QByteArray(128, 'x'));
        line.send("ab");
        QVERIFY(port.readData(&byte, 1, bytesRead));
        QCOMPARE(bytesRead, 1U);
        QCOMPARE(byte, uint8_t{'a'});
    }

    void hasThePortForItself()
    {
        RawLine line;
        vnSerialComs port(nullptr, line.path(), 9600);
        vnSerialComs other(nullptr, line.path(), 9600);
        QVERIFY(port.openPort({}, 0) && !other.openPort({}, 0));
        QCOMPARE(other.lastError(), int(vnSerialComs::OpenFailed));
        QCOMPARE(fcntl(port.descriptor(), F_GETFL) & (O_NONBLOCK | O_ACCMODE), O_RDWR);
        QCOMPARE(fcntl(port.descriptor(), F_GETFD), FD_CLOEXEC);
        QVERIFY(port.closePort() && other.openPort({}, 0));
    }

    void givesUpOnAFullLine()
    {
        const qsizetype size = 77;
        RawLine line;
        vnSerialComs port(nullptr, line.path(), 115200);
        QVERIFY(port.openPort(QString(), 0));
        QElapsedTimer clock;
        do {
            clock.start();
        } while (writeFrame(port, size));
        QCOMPARE(port.lastError(), int(vnSerialComs::WriteFailed));
        QVERIFY(clock.elapsed() >= vnSerialComs::writeWaitMs);

        // A line known to be stuck is not waited for again, or closing would take for ever.
        clock.start();
        for (int i = 0; i < 100; ++i)
            QVERIFY(!writeFrame(port, size));
        QVERIFY(clock.elapsed() < vnSerialComs::writeWaitMs);

        QVERIFY(!line.take(0).isEmpty());
        QVERIFY(writeFrame(port, size));
    }
};

QTEST_GUILESS_MAIN(SerialTest)
#include "serial_test.moc"
