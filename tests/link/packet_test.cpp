#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"

#include <QSet>
#include <QTest>

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
        while (coms.receivePacket(packet)) {
            const QByteArray data(reinterpret_cast<char*>(packet.data), vnMaxDataLength);
            const QByteArray unused(vnMaxDataLength - packet.dataLength, '\x99');
            frames += data.endsWith(unused) ? frame(packet.command, data.first(packet.dataLength))
                                            : "not cleared behind the data";
        }
        return frames;
    }
};

/** Bytes in which no frame can start: the length is always too large. */
QByteArray noise(qsizetype size)
{
    return QByteArray(size, '\xFF');
}

} // namespace

class PacketTest : public QObject
{
    Q_OBJECT

private slots:
    void framesPackets()
    {
        Link link;
        for (const auto& [command, data, dataLength, bytes] :
             QList<std::tuple<uint8_t, QByteArray, uint8_t, QByteArray>>{
                 {0, "", 0, QByteArray::fromHex("0000470f")},
                 {1, "", 0, QByteArray::fromHex("01009f16")},
                 {0, "ABC", 3, QByteArray::fromHex("000341424359b3")},
                 {9, noise(124), 200, frame(9, noise(124))}}) {
            vnPacket packet{command, dataLength, {}, 0xDEAD};
            std::copy(data.begin(), data.end(), packet.data);
            QVERIFY(link.coms.sendPacket(packet));
            QCOMPARE(link.line.take(bytes.size()), bytes);
            QCOMPARE(qsizetype{packet.dataLength}, data.size());
            QCOMPARE(QByteArray(reinterpret_cast<char*>(&packet.crc), 2), bytes.last(2));
        }
        const auto* digits = reinterpret_cast<const uint8_t*>("123456789");
        QCOMPARE(vnPacketComs::calculateCRC(digits, 9), uint16_t{0x906E});
        QCOMPARE(vnPacketComs::calculateCRC(digits, 0), uint16_t{0});
    }

    void findsFrames()
    {
        using Bytes = QList<QByteArray>;
        const QByteArray a = frame(0x40, "first");
        const QByteArray b = frame(0x46);
        const QByteArray full = frame(0x5F, noise(124));
        for (const auto& [name, arriving, found] : QList<std::tuple<const char*, Bytes, Bytes>>{
                 {"together", {a + b + full}, {a, b, full}},
                 {"stray byte in front", {noise(1) + a}, {a}},
                 {"garbage in front", {noise(5) + a + noise(3) + b}, {a, b}},
                 {"bad check in front", {a.chopped(1) + char(a.back() ^ 1) + b}, {b}},
                 {"incomplete in front", {a.chopped(3) + b}, {b}},
                 {"nothing but noise", {noise(200), a}, {a}},
                 {"newest survive", {noise(200) + full.chopped(1), full.last(1)}, {full}},
                 {"older do not", {a.chopped(1) + noise(128), a.last(1)}, {}},
                 {"buffer just full", {noise(1112) + full}, {full}},
                 {"buffer overrun", {noise(1113) + full}, {}}}) {
            Link link;
            Bytes frames;
            for (const QByteArray& bytes : arriving)
                frames += link.receive(bytes);
            QVERIFY2(frames == found, name);
        }
    }

    /** As often as makes the ring wrap. */
    void joinsAFrameCutAnywhere()
    {
        Link link;
        for (int length = 0; length <= 124; length += 31) {
            const QByteArray whole = frame(0x40, QByteArray(length, 'd'));
            for (qsizetype cut = 1; cut < whole.size(); ++cut) {
                QCOMPARE(link.receive(noise(cut % 7) + whole.first(cut)), QList<QByteArray>());
                QCOMPARE(link.receive(whole.sliced(cut)), QList{whole});
            }
        }
    }

    void namesCodes()
    {
        QSet<QString> texts;
        for (uint32_t code = 0; code <= 0x27; ++code)
            texts.insert(vnPacketComs::errorText(code));
        QCOMPARE(texts.size(), 35);
        for (const uint32_t code : {0x01U, 0x1BU, 0x1CU, 0x1DU, 0x22U, 0x24U, 0x28U, 0xFFFFFFFFU})
            QCOMPARE(vnPacketComs::errorText(code), "Unknown error");
        QCOMPARE(vnPacketComs::errorText(0x00), "Ok");
        QCOMPARE(vnPacketComs::errorText(0x27), "Font slot already in use");
        const QStringList names{"Serial", "USB", "SPI", "I2C", "CANBus"};
        for (int id = 0; id < names.size(); ++id)
            QCOMPARE(vnPacketComs::interfaceName(id), names.at(id));
        for (const int id : {-1, 5, INT_MAX, INT_MIN})
            QCOMPARE(vnPacketComs::interfaceName(id), nullptr);
    }
};

QTEST_GUILESS_MAIN(PacketTest)
#include "packet_test.moc"
