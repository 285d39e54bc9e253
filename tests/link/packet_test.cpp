#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"

#include <QTest>

#include <atomic>
#include <cstdlib>
#include <memory>

// Counts allocations; a sanitizer brings its own allocator, which must stay in place.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool countsAllocations = false;
#else
constexpr bool countsAllocations = true;
#endif

namespace {
std::atomic<int> allocations = 0;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" void* __libc_malloc(size_t size);
extern "C" void* malloc(size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}
#endif

namespace {

/** A line with the packet layer on the one end and the test on the other. */
struct Link
{
    RawLine line;
    vnSerialComs port{nullptr, line.path(), 115200};
    vnPacketComs coms{nullptr, &port};

    Link() { port.openPort(QString(), 0); }

    /** The frames that come out now, in order. */
    QList<QByteArray> receiveAll()
    {
        QList<QByteArray> frames;
        vnPacket packet{};
        while (coms.receivePacket(packet))
            frames.append(frame(packet.command, QByteArray(reinterpret_cast<char*>(packet.data),
                                                           packet.dataLength)));
        return frames;
    }
};

/** Bytes in which no frame can start: the length is always too large. */
QByteArray noise(qsizetype size)
{
    return QByteArray(size, '\xFF');
}

QByteArray withBadCrc(QByteArray bytes)
{
    bytes.back() = static_cast<char>(bytes.back() ^ 0x10);
    return bytes;
}

const QByteArray fullData(124, 'd');

} // namespace

class PacketTest : public QObject
{
    Q_OBJECT

private slots:
    void framesPackets_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("dataLength");
        QTest::addColumn<QByteArray>("bytes");
        const auto hex = [](const char* text) { return QByteArray::fromHex(text); };
        QTest::newRow("no data") << 0 << QByteArray() << 0 << hex("0000470f");
        QTest::newRow("other command") << 1 << QByteArray() << 0 << hex("01009f16");
        QTest::newRow("three bytes") << 0 << QByteArray("ABC") << 3 << hex("000341424359b3");
        QTest::newRow("full") << 9 << fullData << 124 << frame(9, fullData);
        QTest::newRow("length too large") << 9 << fullData << 200 << frame(9, fullData);
    }

    void framesPackets()
    {
        QFETCH(int, command);
        QFETCH(QByteArray, data);
        QFETCH(int, dataLength);
        QFETCH(QByteArray, bytes);
        Link link;
        vnPacket packet{};
        packet.command = static_cast<uint8_t>(command);
        packet.dataLength = static_cast<uint8_t>(dataLength);
        packet.crc = 0xDEAD;
        std::copy(data.begin(), data.end(), packet.data);

        QVERIFY(link.coms.sendPacket(packet));
        QCOMPARE(link.line.take(bytes.size()), bytes);
        QCOMPARE(int(packet.dataLength), int(data.size()));
        QCOMPARE(packet.crc,
                 uint16_t(uint8_t(bytes.at(bytes.size() - 2)) | uint8_t(bytes.back()) << 8));
        link.port.closePort();
        QVERIFY(!link.coms.sendPacket(packet));
    }

    void checksBytes()
    {
        const QByteArray digits = "123456789";
        const auto* bytes = reinterpret_cast<const uint8_t*>(digits.constData());
        QCOMPARE(vnPacketComs::calculateCRC(bytes, 9), uint16_t{0x906E});
        QCOMPARE(vnPacketComs::calculateCRC(bytes, 0), uint16_t{0});
    }

    void findsFrames_data()
    {
        QTest::addColumn<QList<QByteArray>>("arriving");
        QTest::addColumn<QList<QByteArray>>("found");
        const QByteArray a = frame(0x40, "first");
        const QByteArray b = frame(0x46);
        const QByteArray full = frame(0x5F, fullData);
        using Bytes = QList<QByteArray>;
        QTest::newRow("together") << Bytes{a + b + full} << Bytes{a, b, full};
        QTest::newRow("stray byte in front") << Bytes{noise(1) + a} << Bytes{a};
        QTest::newRow("garbage in front") << Bytes{noise(5) + a + noise(3) + b} << Bytes{a, b};
        QTest::newRow("bad check in front") << Bytes{withBadCrc(a) + b} << Bytes{b};
        QTest::newRow("incomplete in front") << Bytes{a.chopped(3) + b} << Bytes{b};
        QTest::newRow("nothing but noise") << Bytes{noise(200), a} << Bytes{a};
        QTest::newRow("newest bytes survive noise")
            << Bytes{noise(200) + full.chopped(1), full.right(1)} << Bytes{full};
        QTest::newRow("older bytes do not")
            << Bytes{noise(200) + a.chopped(1) + noise(128), a.right(1)} << Bytes{};
        QTest::newRow("buffer just full") << Bytes{noise(1112) + full} << Bytes{full};
        QTest::newRow("buffer overrun") << Bytes{noise(1113) + full} << Bytes{};
    }

    void findsFrames()
    {
        QFETCH(QList<QByteArray>, arriving);
        Link link;
        QList<QByteArray> frames;
        for (const QByteArray& bytes : arriving) {
            link.line.send(bytes);
            frames += link.receiveAll();
        }
        QTEST(frames, "found");
    }

    void joinsAFrameCutAnywhere()
    {
        const QByteArray whole = frame(0x40, "0123456789abcdef");
        Link link;
        for (qsizetype cut = 1; cut < whole.size(); ++cut) {
            link.line.send(whole.left(cut));
            QVERIFY2(link.receiveAll().isEmpty(), qPrintable(QString::number(cut)));
            link.line.send(whole.mid(cut));
            QCOMPARE(link.receiveAll(), QList{whole});
        }
    }

    void rejectsEveryFlippedBit()
    {
        const QByteArray whole = frame(0x40, "0123456789");
        for (qsizetype bit = 0; bit < whole.size() * 8; ++bit) {
            QByteArray damaged = whole;
            damaged[bit / 8] = static_cast<char>(damaged.at(bit / 8) ^ (1 << (bit % 8)));
            Link link;
            link.line.send(damaged);
            QVERIFY2(link.receiveAll().isEmpty(), qPrintable(QString::number(bit)));
        }
    }

    void keepsOrderWhileTheRingWraps()
    {
        Link link;
        for (int round = 0; round < 200; ++round) {
            const QByteArray sent = frame(0x40, QByteArray(1 + round % 124, char(round)));
            link.line.send(noise(round % 7) + sent);
            QCOMPARE(link.receiveAll(), QList{sent});
        }
    }

    void marksUnusedData()
    {
        Link link;
        link.line.send(frame(0x40, "abc"));
        vnPacket packet{};
        QVERIFY(link.coms.receivePacket(packet));
        QVERIFY(std::all_of(packet.data + 3, std::end(packet.data),
                            [](uint8_t byte) { return byte == 0x99; }));
    }

    void allocatesNothing()
    {
        if (!countsAllocations)
            QSKIP("the sanitizer's allocator is not counted");
        Link link;
        link.line.send(noise(300) + frame(0x40, fullData));
        vnPacket packet{};
        const int before = allocations;
        const bool sent = link.coms.sendPacket(packet);
        const bool received = link.coms.receivePacket(packet);
        const bool receivedMore = link.coms.receivePacket(packet);
        QCOMPARE(allocations - before, 0);
        QVERIFY(sent && received && !receivedMore);
    }
};

QTEST_GUILESS_MAIN(PacketTest)
#include "packet_test.moc"
