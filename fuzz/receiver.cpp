#include "fuzz/Input.h"
#include "fuzz/PipeLine.h"
#include "fuzz/ReceiveModel.h"
#include "fuzz/disagree.h"
#include "link/ByteListener.h"
#include "link/RingBuffer.h"
#include "link/vnPacketComs.h"

#include <algorithm>
#include <cstring>

namespace {

// What the receiver has buffered is no one's business but a fuzzer's, which looks for the byte that
// is wrong there long before a frame is. The way in is the one that PipeLine.cpp explains.
RingBuffer& ringOf(const vnPacketComs& receiver);
template <RingBuffer* vnPacketComs::*ring> struct Reach
{
    friend RingBuffer& ringOf(const vnPacketComs& receiver) { return *(receiver.*ring); }
};
template struct Reach<&vnPacketComs::received>;

/** Stands still unless told otherwise. */
struct HandClock : SteadyClock
{
    qint64 now = 0;
    qint64 nowNs() const override { return now; }
};

enum class Reading { EveryPosition, InOrder };

/** Holds what the receiver tells of each byte against the bytes that have arrived. */
class ByteAccount : public ByteListener
{
public:
    /** `fitted` has reached the receiver's buffer, and `lost` more had no room there. */
    void arrive(std::span<const uint8_t> fitted, size_t lost)
    {
        open.insert(open.end(), fitted.begin(), fitted.end());
        overrun += lost;
    }

    void frameTaken(std::span<const uint8_t> frame, qint64) override { settle(frame); }
    void bytesSkipped(std::span<const uint8_t> bytes, qint64) override { settle(bytes); }
    void bytesOverrun(std::span<const uint8_t> bytes, qint64) override { overrun -= bytes.size(); }

    void compare(size_t buffered) const
    {
        if (open.size() != buffered || overrun != 0)
            disagree(QStringLiteral("%1 bytes are buffered, %2 not told; %3 overrun not told")
                         .arg(buffered)
                         .arg(open.size())
                         .arg(overrun));
    }

private:
    void settle(std::span<const uint8_t> bytes)
    {
        if (bytes.empty() || bytes.size() > open.size() ||
            !std::equal(bytes.begin(), bytes.end(), open.begin()))
            disagree(QStringLiteral("%1 bytes are told that are not next").arg(bytes.size()));
        open.erase(open.begin(), open.begin() + static_cast<ptrdiff_t>(bytes.size()));
    }

    std::vector<uint8_t> open; ///< not told yet, oldest first
    size_t overrun = 0;        ///< likewise
};

/** A receiver at one end of the line and the model beside it, held against each other. */
class Reception
{
public:
    /** `counted` is how many bytes the receiver's ring shall seem to have seen before. */
    Reception(PipeLine& from, HandClock& hand, uint64_t counted, Reading howToRead)
        : line(from), clock(hand), reading(howToRead), receiver(nullptr, &from.serial())
    {
        ringOf(receiver).head = ringOf(receiver).tail = counted;
        receiver.tell(&account);
        if (reading == Reading::InOrder)
            receiver.readInOrder(
                [this](std::span<const uint8_t> bytes) { return isAwaited(bytes); });
    }

    /** From now on this frame is awaited. */
    void await(const std::vector<uint8_t>& frame) { awaited.push_back(frame); }
    void pass(qint64 ns) { clock.now += ns; }

    void arrive(std::span<const uint8_t> bytes)
    {
        bytes = bytes.first(std::min(bytes.size(), PipeLine::limit - waiting));
        line.write(bytes);
        const size_t room = ReceiveModel::capacity - model.buffered().size();
        account.arrive(bytes.first(std::min(bytes.size(), room)),
                       bytes.size() - std::min(bytes.size(), room));
        model.arrive(bytes);
        waiting += bytes.size();
    }

    /** Receives once, compares all there is to see, and returns whether there was a frame. */
    bool receive();

    /** Bytes that have arrived since the last receive(). */
    size_t unread() const { return waiting; }
    /** About how many bytes all calls of receive() scanned; one that finds a frame scans few. */
    size_t scanned() const { return effort; }

private:
    void compareFrame(const vnPacket& packet, const ReceiveModel::Frame& frame) const;
    void compareBuffered() const;
    Awaited isAwaited(std::span<const uint8_t> bytes) const;
    std::optional<ReceiveModel::Frame> receiveByModel();

    PipeLine& line;
    HandClock& clock;
    Reading reading;
    vnPacketComs receiver;
    ReceiveModel model;
    ByteAccount account;
    std::vector<std::vector<uint8_t>> awaited;
    qint64 lastReadNs = 0;
    size_t waiting = 0;
    size_t effort = 0;
};

bool Reception::receive()
{
    const size_t buffered = model.buffered().size();
    vnPacket packet{};
    std::memset(&packet, 0x55, sizeof packet);
    const bool found = receiver.receivePacket(packet);
    const std::optional<ReceiveModel::Frame> frame = receiveByModel();
    waiting = 0;
    effort += found ? buffered / 8 : buffered;
    if (receiver.isWaiting() != model.isWaiting())
        disagree(QStringLiteral("waiting: %1, expected: %2")
                     .arg(receiver.isWaiting())
                     .arg(model.isWaiting()));
    if (found != frame.has_value())
        disagree(QStringLiteral("frame received: %1, expected: %2").arg(found).arg(!found));
    if (found)
        compareFrame(packet, *frame);
    compareBuffered();
    account.compare(ringOf(receiver).count());
    return found;
}

std::optional<ReceiveModel::Frame> Reception::receiveByModel()
{
    const bool isSilent = waiting == 0 && clock.now - lastReadNs > vnPacketComs::silenceNs;
    if (waiting > 0)
        lastReadNs = clock.now;
    return reading == Reading::InOrder ? model.receiveInOrder(awaited, isSilent) : model.receive();
}

Awaited Reception::isAwaited(std::span<const uint8_t> bytes) const
{
    const auto begins = [&](const std::vector<uint8_t>& frame) {
        return std::memcmp(bytes.data(), frame.data(), std::min(bytes.size(), frame.size() - 2)) ==
               0;
    };
    if (std::ranges::none_of(awaited, begins))
        return Awaited::No;
    return bytes.size() < 10 ? Awaited::Perhaps : Awaited::Surely;
}

void Reception::compareFrame(const vnPacket& packet, const ReceiveModel::Frame& frame) const
{
    const auto compare = [](const QString& what, int received, int expected) {
        if (received != expected)
            disagree(QStringLiteral("%1 is %2, expected %3").arg(what).arg(received).arg(expected));
    };
    compare(QStringLiteral("command"), packet.command, frame.command);
    compare(QStringLiteral("data length"), packet.dataLength, frame.dataLength);
    compare(QStringLiteral("CRC"), packet.crc, frame.crc);
    const auto [received, expected] =
        std::mismatch(std::begin(packet.data), std::end(packet.data), frame.data.begin());
    if (received != std::end(packet.data))
        compare(QStringLiteral("data byte %1").arg(received - packet.data), *received, *expected);
}

void Reception::compareBuffered() const
{
    const RingBuffer& ring = ringOf(receiver);
    const std::vector<uint8_t>& expected = model.buffered();
    if (ring.head - ring.tail != expected.size())
        disagree(QStringLiteral("%1 bytes are buffered, expected %2")
                     .arg(ring.head - ring.tail)
                     .arg(expected.size()));
    uint64_t place = ring.tail % ring.capacity;
    for (size_t i = 0; i < expected.size(); ++i) {
        if (ring.storage[place] != expected[i])
            disagree(QStringLiteral("buffered byte %1 of %2 is %3, expected %4")
                         .arg(i)
                         .arg(expected.size())
                         .arg(ring.storage[place])
                         .arg(expected[i]));
        place = place + 1 == ring.capacity ? 0 : place + 1;
    }
}

enum Operation { Raw, Run, Frame, WrongCrc, CutFrame, TooLong, ReceiveOnce, ReceiveAll };

/** A frame by the rules, except that `dataLength` may be above what they allow. */
std::vector<uint8_t> makeFrame(uint8_t command, uint8_t dataLength, bool filled, Input& input)
{
    std::vector<uint8_t> frame =
        filled ? std::vector<uint8_t>(dataLength, input.byte()) : input.bytes(dataLength);
    frame.insert(frame.begin(), {command, dataLength});
    const uint16_t crc = ReceiveModel::checksum(frame);
    frame.insert(frame.end(), {static_cast<uint8_t>(crc), static_cast<uint8_t>(crc >> 8)});
    return frame;
}

/**
 * Sends what `frame`, a correct one, says, and compares what reaches the line. `dataLength` may be
 * above what is allowed; the frame then has as much as is.
 */
void compareSent(const std::vector<uint8_t>& frame, uint8_t dataLength)
{
    static PipeLine line(PipeLine::Flow::FromTool);
    static vnPacketComs sender(nullptr, &line.serial());
    vnPacket packet{frame[0], dataLength, {}, 0};
    std::copy(frame.begin() + 2, frame.end() - 2, packet.data);
    const bool sent = sender.sendPacket(packet);
    if (!sent || line.take() != frame || packet.dataLength != frame[1] ||
        packet.crc != frame[frame.size() - 2] + 256 * frame.back())
        disagree(QStringLiteral("sent: %1, data length %2, CRC %3, or other bytes than expected")
                     .arg(sent)
                     .arg(packet.dataLength)
                     .arg(packet.crc));
}

/** What the operation lets arrive. A ping's echo is awaited from then on. */
std::vector<uint8_t> makePiece(Operation operation, Input& input, Reception& reception)
{
    const uint8_t first = input.byte();
    if (operation == Raw)
        return input.bytes(first);
    const uint8_t second = input.byte();
    if (operation == Run) { // of one value, or of one that rises in equal steps
        std::vector<uint8_t> run(first, second);
        for (size_t i = 1, step = input.byte(); i < run.size(); ++i)
            run[i] = static_cast<uint8_t>(run[i - 1] + step);
        return run;
    }
    const int dataLength =
        operation == TooLong ? std::max<int>(second, 125) : std::min(second & 0x7F, 124);
    std::vector<uint8_t> frame =
        makeFrame(first, static_cast<uint8_t>(dataLength), (second & 0x80) != 0, input);
    if (operation == Frame)
        compareSent(frame, second & 0x7F);
    if (first == 0x40 && dataLength >= 8 && operation != TooLong)
        reception.await(frame);
    if (operation == WrongCrc) {
        const int bit = input.byte() % 16;
        frame[frame.size() - 1 - static_cast<size_t>(bit / 8)] ^=
            static_cast<uint8_t>(1 << bit % 8);
    }
    if (operation == CutFrame)
        frame.resize(input.byte() % frame.size());
    return frame;
}

/**
 * Runs the operations that the input lists. An operation is a byte: its kind, and for an eighth of
 * all values how often it is repeated, which is what fills the ring. One that receives also says
 * how long the line was silent before.
 */
void run(Input& input, Reception& reception)
{
    // Every look at the line costs a scan of all that is buffered, twice. Short pieces are worth it
    // at an input's beginning, where they are as good as anywhere, and so is a second full ring.
    constexpr size_t shortPiecesUpTo = 64;
    constexpr size_t shortPiece = 16;
    constexpr size_t mostScanned = 1300;

    while (!input.isEmpty() && reception.scanned() < mostScanned) {
        const uint8_t code = input.byte();
        const auto operation = static_cast<Operation>(code % 8);
        if (operation < ReceiveOnce) {
            const std::vector<uint8_t> piece = makePiece(operation, input, reception);
            std::vector<uint8_t> bytes;
            for (int times = code < 0xE0 ? 1 : code / 8 % 4 * 8 + 8; times > 0; --times)
                bytes.insert(bytes.end(), piece.begin(), piece.end());
            reception.arrive(bytes);
        } else if (input.position() <= shortPiecesUpTo || reception.unread() >= shortPiece) {
            reception.pass(vnPacketComs::silenceNs - 1 + code / 8 % 4);
            while (reception.receive() && operation == ReceiveAll &&
                   reception.scanned() < mostScanned) {
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    static HandClock clock;
    static PipeLine line(PipeLine::Flow::ToTool, &clock);
    for (const Reading reading : {Reading::EveryPosition, Reading::InOrder}) {
        Input input({bytes, size});
        // The ring's counters start at 0 or shortly in front of where something has to wrap: the
        // ring's own end, or 32 bits, past which a counter must not jump.
        const uint8_t start = input.byte();
        const uint64_t wrap = (start & 0x80) != 0 ? uint64_t{1} << 32 : ReceiveModel::capacity;
        const uint64_t counters = start == 0 ? 0 : wrap - uint64_t{start & 0x7FU} * 8;
        Reception reception(line, clock, counters, reading);
        run(input, reception);
        reception.receive(); // empties the pipe for the next input
    }
    return 0;
}
