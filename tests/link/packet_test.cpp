#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"

#include <QSet>
#include <QTest>

#include <atomic>
#include <cstdlib>

namespace {
std::atomic<int> allocations = 0;
}

// Counts allocations; a sanitizer brings its own allocator, which must stay in place.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool countsAllocations = false;
#else
constexpr bool countsAllocations = true;
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

    /** The frames that come out once `bytes` have arrived, in order. */
    QList<QByteArray> receive(const QByteArray& bytes)
    {
        line.send(bytes);
        QList<QByteArray> frames;
        vnPacket packet{};
        while (coms.receivePacket(packet))
            frames +=
                frame(packet.command, {reinterpret_cast<char*>(packet.data), packet.dataLength});
        return frames;
    }
};

/** Bytes in which no frame can start: the length is always too large. */
QByteArray noise(qsizetype size)
{
    return QByteArray(size, '\xFF');
}

QByteArray withFlippedBit(QByteArray bytes, qsizetype bit)
{
    bytes[bit / 8] = static_cast<char>(bytes.at(bit / 8) ^ (1 << (bit % 8)));
    return bytes;
}

const QByteArray fullData(124, 'd');

} // namespace

class PacketTest : public QObject
{
    Q_OBJECT

private slots:
    void framesPackets()
    {
        struct Case
        {
            uint8_t command;
            QByteArray data;
            uint8_t dataLength;
            QByteArray bytes;
        };
        Link link;
        for (const Case& c : QList<Case>{{0, "", 0, QByteArray::fromHex("0000470f")},
                                         {1, "", 0, QByteArray::fromHex("01009f16")},
                                         {0, "ABC", 3, QByteArray::fromHex("000341424359b3")},
                                         {9, fullData, 124, frame(9, fullData)},
                                         {9, fullData, 200, frame(9, fullData)}}) {
            vnPacket packet{c.command, c.dataLength, {}, 0xDEAD};
            std::copy(c.data.begin(), c.data.end(), packet.data);
            QVERIFY(link.coms.sendPacket(packet));
            QCOMPARE(link.line.take(c.bytes.size()), c.bytes);
            QCOMPARE(qsizetype{packet.dataLength}, c.data.size());
            QCOMPARE(QByteArray(reinterpret_cast<char*>(&packet.crc), 2), c.bytes.last(2));
        }
        vnPacket packet{};
        link.port.closePort();
        QVERIFY(!link.coms.sendPacket(packet));
        const auto* digits = reinterpret_cast<const uint8_t*>("123456789");
        QCOMPARE(vnPacketComs::calculateCRC(digits, 9), uint16_t{0x906E});
        QCOMPARE(vnPacketComs::calculateCRC(digits, 0), uint16_t{0});
    }

    void findsFrames_data()
    {
        using Bytes = QList<QByteArray>;
        QTest::addColumn<Bytes>("arriving");
        QTest::addColumn<Bytes>("found");
        const QByteArray a = frame(0x40, "first");
        const QByteArray b = frame(0x46);
        const QByteArray full = frame(0x5F, fullData);
        // One case a line.
        // clang-format off
        QTest::newRow("together") << Bytes{a + b + full} << Bytes{a, b, full};
        QTest::newRow("stray byte in front") << Bytes{noise(1) + a} << Bytes{a};
        QTest::newRow("garbage in front") << Bytes{noise(5) + a + noise(3) + b} << Bytes{a, b};
        QTest::newRow("bad check in front") << Bytes{withFlippedBit(a, 70) + b} << Bytes{b};
        QTest::newRow("incomplete in front") << Bytes{a.chopped(3) + b} << Bytes{b};
        QTest::newRow("nothing but noise") << Bytes{noise(200), a} << Bytes{a};
        QTest::newRow("newest survive") << Bytes{noise(200) + full.chopped(1), full.last(1)} << Bytes{full};
        QTest::newRow("older do not") << Bytes{a.chopped(1) + noise(128), a.last(1)} << Bytes{};
        QTest::newRow("buffer just full") << Bytes{noise(1112) + full} << Bytes{full};
        QTest::newRow("buffer overrun") << Bytes{noise(1113) + full} << Bytes{};
        // clang-format on
    }

    void findsFrames()
    {
        QFETCH(QList<QByteArray>, arriving);
        Link link;
        QList<QByteArray> frames;
        for (const QByteArray& bytes : arriving)
            frames += link.receive(bytes);
        QTEST(frames, "found");
    }

    /** As often as makes the ring wrap. */
    void joinsAFrameCutAnywhere()
    {
        Link link;
        for (int length = 0; length <= 124; length += 31) {
            const QByteArray whole = frame(0x40, fullData.first(length));
            for (qsizetype cut = 1; cut < whole.size(); ++cut) {
                QCOMPARE(link.receive(noise(cut % 7) + whole.first(cut)), QList<QByteArray>());
                QCOMPARE(link.receive(whole.sliced(cut)), QList{whole});
            }
        }
    }

    void rejectsEveryFlippedBit()
    {
        const QByteArray whole = frame(0x40, "0123456789");
        for (qsizetype bit = 0; bit < whole.size() * 8; ++bit) {
            Link link;
            QCOMPARE(link.receive(withFlippedBit(whole, bit)), QList<QByteArray>());
        }
    }

    void textsEveryError()
    {
        const QString unknown = "Unknown error";
        const QSet<uint32_t> gaps{0x1B, 0x1C, 0x1D, 0x22, 0x24};
        QSet<QString> texts;
        for (uint32_t code = 0; code <= 0x30; ++code) {
            const char* text = vnPacketComs::errorText(code);
            QVERIFY(text != nullptr);
            texts.insert(text);
            const bool hasNone = gaps.contains(code) || code == 0x01 || code > 0x27;
            QVERIFY2((text == unknown) == hasNone, qPrintable(QString::number(code, 16)));
        }
        QCOMPARE(texts.size(), 35);
        QCOMPARE(vnPacketComs::errorText(0xFFFFFFFF), unknown);
        QCOMPARE(vnPacketComs::errorText(0x00), "Ok");
        QCOMPARE(vnPacketComs::errorText(0x27), "Font slot already in use");
    }

    void namesInterfaces()
    {
        const QStringList names{"Serial", "USB", "SPI", "I2C", "CANBus"};
        for (int id = 0; id < names.size(); ++id)
            QCOMPARE(vnPacketComs::interfaceName(id), names.at(id));
        for (const int id : {-1, 5, 0xFE, 0xFF, INT_MAX, INT_MIN})
            QCOMPARE(vnPacketComs::interfaceName(id), nullptr);
    }

    void allocatesNothing()
    {
        Link link;
        link.line.send(noise(300) + frame(0x40, "abc"));
        vnPacket packet{.command = 0, .dataLength = 124, .data = {}, .crc = 0};
        const int before = allocations;
        const bool sent = link.coms.sendPacket(packet);
        const bool received = link.coms.receivePacket(packet);
        const int made = allocations - before;
        QVERIFY(sent && received);
        QVERIFY(std::all_of(packet.data + 3, std::end(packet.data),
                            [](uint8_t byte) { return byte == 0x99; }));
        QVERIFY(!link.coms.receivePacket(packet));
        if (!countsAllocations)
            QSKIP("the sanitizer's allocator is not counted");
        QCOMPARE(made, 0);
    }
};

QTEST_GUILESS_MAIN(PacketTest)
#include "packet_test.moc"
