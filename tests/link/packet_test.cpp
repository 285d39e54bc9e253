#include "link/ModuleVersion.h"
#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"
#include "tests/support/contentsOf.h"
#include "tests/support/frame.h"

#include <QtTest>

#include <algorithm>
#include <cstdlib>

namespace {

/** A line with the packet layer on the one end and the test on the other. */
struct Link : SteadyClock
{
    RawLine line;
    vnSerialComs port{nullptr, line.path(), 115200};
    vnPacketComs coms{nullptr, &port};
    mutable qint64 reads = 0; ///< the line's clock: how often it was looked at, or what a test adds

    Link()
    {
        port.setClock(this);
        port.openPort(QString(), 0);
    }
    qint64 nowNs() const override { return ++reads; }

    /** The frames that come out once `bytes` have arrived, in order. */
    QList<QByteArray> receive(const QByteArray& bytes)
    {
        line.send(bytes);
        QList<QByteArray> frames;
        vnPacket packet{};
        while (coms.receivePacket(packet)) {
            const QByteArray data(reinterpret_cast<char*>(packet.data), vnMaxDataLength);
            const QByteArray unused(vnMaxDataLength - packet.dataLength, '\x99');
            const QByteArray found = frame(packet.command, data.first(packet.dataLength));
            const QByteArray crc(reinterpret_cast<char*>(&packet.crc), 2);
            const bool isWhole = data.endsWith(unused) && found.endsWith(crc);
            frames += isWhole ? found : "not cleared behind the data, or another check";
        }
        return frames;
    }
};

/** Bytes in which no frame can start: the length is always too large. */
QByteArray noise(qsizetype size)
{
    return QByteArray(size, '\xFF');
}

/** In order, with the echo of `payload`, 8 bytes or more, awaited. */
void readInOrder(vnPacketComs& coms, const QByteArray& payload)
{
    const QByteArray echo = frame(0x40, payload).chopped(2);
    coms.readInOrder([echo](std::span<const uint8_t> bytes) {
        const QByteArrayView arrived(bytes.data(),
                                     std::min<qsizetype>(std::ssize(bytes), echo.size()));
        if (!QByteArrayView(echo).startsWith(arrived))
            return Awaited::No;
        return arrived.size() < 10 ? Awaited::Perhaps : Awaited::Surely;
    });
}

/** The rows of the protocol's document that `pattern` finds: code, in hexadecimal, and text. */
QMap<uint32_t, QString> documented(const QString& pattern)
{
    QMap<uint32_t, QString> rows;
    const QRegularExpression row(pattern, QRegularExpression::MultilineOption);
    for (const QRegularExpressionMatch& match : row.globalMatch(contentsOf(PROTOCOL)))
        rows[match.captured(1).toUInt(nullptr, 16)] = match.captured(2);
    return rows;
}

/** Valid, model, versions A and B, family flag, most data bytes. */
QList<int> fieldsOf(const ModuleVersion& v)
{
    return {v.valid,         v.model,         v.versionAMajor, v.versionAMinor,
            v.versionBMajor, v.versionBMinor, v.familyFlag,    v.maxDataLength()};
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
                 {0, "ABC", 3, QByteArray::fromHex("000341424359b3")},
                 {9, noise(124), 125, frame(9, noise(124))},
                 {9, noise(124), 124, frame(9, noise(124))}}) {
            vnPacket packet{command, dataLength, {}, 0xDEAD};
            std::copy(data.begin(), data.end(), packet.data);
            QVERIFY(link.coms.sendPacket(packet));
            QCOMPARE(link.line.take(bytes.size()), bytes);
            QCOMPARE(qsizetype{packet.dataLength}, data.size());
            QCOMPARE(QByteArray(reinterpret_cast<char*>(&packet.crc), 2), bytes.last(2));
        }
        const auto* digits = reinterpret_cast<const uint8_t*>("123456789");
        QCOMPARE(vnPacketComs::calculateCRC(digits, 9), uint16_t{0x906E});
        QVERIFY(link.coms.writeRaw(digits, 9));
        QCOMPARE(link.line.take(9), "123456789");
        link.port.closePort();
        vnPacket packet{};
        QVERIFY(!link.coms.sendPacket(packet) && !link.coms.writeRaw(digits, 9));
    }

    void findsFrames()
    {
        const QByteArray a = frame(0x40, "first");
        const QByteArray b = frame(0x46);
        const QByteArray full = frame(0x5F, noise(124));
        const QByteArray tooLong = frame(0x40, noise(125));
        for (const auto& [name, arriving, found] :
             QList<std::tuple<const char*, QByteArray, QList<QByteArray>>>{
                 {"garbage in front", noise(5) + a + noise(3) + b, {a, b}},
                 {"bad check in front", a.chopped(1) + char(a.back() ^ 1) + b, {b}},
                 {"incomplete in front", a.chopped(3) + b, {b}},
                 {"length above the limit", tooLong + b, {b}},
                 {"frame within a frame", frame(0x40, b) + a, {frame(0x40, b), a}},
                 {"buffer just full", noise(1112) + full, {full}},
                 {"buffer overrun", noise(1113) + full, {}}}) {
            Link link;
            QVERIFY2(link.receive(arriving) == found, name);
        }
    }

    /** Behind more than the ring keeps, and with the frame more than it holds. */
    void joinsAFrameCutAnywhere()
    {
        Link link;
        const QByteArray whole = frame(0x40, QByteArray(90, 'd'));
        for (qsizetype cut = 1; cut < whole.size(); ++cut) {
            QCOMPARE(link.receive(noise(1147) + whole.first(cut)), QList<QByteArray>());
            QCOMPARE(link.receive(whole.sliced(cut)), QList{whole});
        }
    }

    void readsInOrder()
    {
        const QByteArray a = frame(0x81, "report");
        const QByteArray b = frame(0xC0, "\x07");
        const QByteArray start = "\x81\x40"; // of a frame of 64 data bytes
        const QByteArray outer = frame(0x81, "in " + a + noise(20));
        const QByteArray eight = frame(0x40, "12345678");
        // A frame that ends within the awaited one, whose filler is its check.
        const QByteArray reaching = frame(0x82, "in front" + frame(0x40, "12345678??").first(10));
        const QByteArray payload = "12345678" + reaching.last(2);
        const QByteArray echo = frame(0x40, payload);
        QByteArray touching; // ends with the awaited one's first two bytes
        for (int i = 0; !touching.endsWith("\x40\x0A"); ++i)
            touching = frame(0x83, QByteArray::number(i));
        const QByteArray rest = echo.sliced(2);
        const QByteArray damaged = echo.chopped(2) + noise(2);
        const QByteArray around = "12345678" + a + "more";
        const QByteArray paused = frame(0x40, around);
        const QByteArray last = paused.last(1);
        constexpr int silent = vnPacketComs::silenceNs;
        struct Step
        {
            QByteArray arriving;
            QList<QByteArray> found;
            int passNs = 0; ///< before
            bool waits = false;
        };
        for (const auto& [name, steps] : QList<std::pair<QByteArray, QList<Step>>>{
                 {"a frame within one that arrives",
                  {{outer.chopped(1), {}, 0, true}, {outer.last(1) + b, {outer, b}}}},
                 {"what proves wrong", {{start + a, {}, 0, true}, {noise(56), {a}, 0, true}}},
                 {"silence",
                  {{start + a, {}, 0, true}, {"", {}, silent - 1, true}, {"", {a}, 1}, {b, {b}}}},
                 {"bytes that come late are no silence",
                  {{start + a, {}, 0, true}, {"\x01", {}, silent, true}, {"", {a}, silent}}},
                 {"a frame completed after silence",
                  {{outer.first(2), {}, 0, true}, {"", {}, silent}, {outer.sliced(2), {outer}}}},
                 {"the awaited one at once, what is in front first",
                  {{start + a + echo + b, {a, echo, b}}}},
                 {"one that reaches into the awaited",
                  {{reaching, {}, 0, true}, {"", {}, silent, true}, {echo.sliced(12), {echo}}}},
                 {"one that touches it", {{touching, {}, 0, true}, {rest, {echo}}}},
                 {"one that touches what does not come",
                  {{touching, {}, 0, true}, {"", {touching}, silent}, {b, {b}}}},
                 {"the awaited one, around another and with a pause",
                  {{paused.chopped(1), {}, 0, true}, {"", {}, silent, true}, {last, {paused}}}},
                 {"the awaited one damaged",
                  {{damaged + a, {}, 0, true}, {"", {a}, silent}, {eight, {eight}}}}}) {
            Link link;
            readInOrder(link.coms, name.contains("around") ? around : payload);
            for (qsizetype i = 0; i < steps.size(); ++i) {
                link.reads += steps[i].passNs;
                const QByteArray where = name + ", step " + QByteArray::number(i);
                QVERIFY2(link.receive(steps[i].arriving) == steps[i].found, where);
                QVERIFY2(link.coms.isWaiting() == steps[i].waits, where);
            }
        }
        Link link;
        readInOrder(link.coms, payload);
        QVERIFY(link.receive(start + a).isEmpty());
        link.coms.waitNoLonger();
        QCOMPARE(link.receive(b), QList({a, b})); // for this look only
        QVERIFY(link.receive(start + a).isEmpty());
    }

    /** Each read takes 32 bytes, so the moments tell how often the line was asked. */
    void tellsWhenItReadAPacket()
    {
        for (const bool keepsUnreadOnLine : {false, true}) {
            Link link;
            vnPacket packet{};
            if (keepsUnreadOnLine)
                link.coms.keepUnreadOnLine();
            QVERIFY(!link.coms.receivePacket(packet) && link.coms.lastPacketReadNs() == 0);
            for (qint64 reads = 0; reads < 72; reads += 6) { // more than the buffer holds
                link.line.send(frame(0, noise(60)) + frame(1, noise(123)) + noise(1));
                for (const qint64 more : {2, 6}) {
                    QVERIFY(link.coms.receivePacket(packet));
                    QCOMPARE(link.coms.lastPacketReadNs(), reads + more);
                }
                QVERIFY(!link.coms.receivePacket(packet) && link.reads == reads + 6);
            }
            link.line.send(frame(4));
            QVERIFY(link.coms.receivePacket(packet));
            link.line.send(frame(5)); // a line that has run dry is spared until the next look
            QVERIFY(link.coms.receivePacket(packet) != keepsUnreadOnLine);
            QVERIFY(link.coms.receivePacket(packet) == keepsUnreadOnLine);
        }
    }

    void namesCodes()
    {
        const auto texts = documented("^\\| `([0-9A-F]{2})` \\| (.*) \\|$");
        QCOMPARE(texts.size(), 35);
        for (uint32_t code = 0; code <= 0x100; ++code)
            QCOMPARE(vnPacketComs::errorText(code), texts.value(code, "Unknown error"));
        const auto names = documented("(?:numbered|,) (\\d) ([A-Z]\\w+)");
        QCOMPARE(names.size(), 5);
        for (const int id : {-1, 0, 1, 2, 3, 4, 5, 6, 0xFE, 0xFF, INT_MAX, INT_MIN})
            QCOMPARE(QString(vnPacketComs::interfaceName(id)), names.value(uint32_t(id)));
    }

    void readsVersions()
    {
        ModuleVersion version;
        // Model, version B as a digit each, family flag.
        const std::initializer_list<std::array<int, 3>> rows{
            {100, 0x15, 0},     {101, 0x34, 0x8},    {102, 0x34, 0x10},   {103, 0x34, 0x20},
            {104, 0x1F, 0x40},  {104, 0x20, 0x40},   {104, 0x21, 0x80},   {104, 0x30, 0x80},
            {105, 0x00, 0x100}, {106, 0x05, 0x200},  {106, 0x13, 0x200},  {106, 0x14, 0x400},
            {106, 0x15, 0x800}, {107, 0x15, 0x1000}, {108, 0x15, 0x2000}, {109, 0x15, 0}};
        for (const auto& [model, versionB, flag] : rows) {
            const auto [major, minor] = std::div(versionB, 16);
            const QString text("VNA%1:H1.2 F%2.%3");
            QVERIFY(version.parse(text.arg(model).arg(major).arg(minor, 0, 16)));
            const int most = model > 100 && model < 105 ? 22 : 124;
            QCOMPARE(fieldsOf(version), QList<int>({1, model, 1, 2, major, minor, flag, most}));
        }
        QVERIFY(version.parse("xyz007 VNA: A.b, C.D"));
        QCOMPARE(fieldsOf(version), QList<int>({1, 7, 10, 11, 12, 13, 0, 124}));
    }

    void refusesVersions()
    {
        const QString good = "VNA101:H1.2 F3.4";
        QStringList texts{"VNB101:H1.2 F3.4", "vna101:H1.2 F3.4", "VNA000:H1.2 F3.4",
                          "VNA-10:H1.2 F3.4", ":00101 2  3 4 VNA"};
        texts += QString(good).replace(4, 1, QChar(0));
        for (const int index : {0, 5, 6, 8, 10, 13, 15})
            texts += {good.left(index), QString(good).replace(index, 1, 'g')};
        for (const QString& text : texts) {
            ModuleVersion version;
            QVERIFY(version.parse(good));
            QVERIFY2(!version.parse(text), qPrintable(text));
            QCOMPARE(fieldsOf(version), QList<int>({0, 0, -1, -1, -1, -1, 0, 124}));
        }
    }
};

QTEST_GUILESS_MAIN(PacketTest)
#include "packet_test.moc"
