#include "link/vnPacket.h"
#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"
#include "tests/support/RawLine.h"
#include "tests/support/frame.h"

#include <benchmark/benchmark.h>
#include <boost/crc.hpp>

#include <QRandomGenerator>

#include <chrono>
#include <optional>
#include <vector>

namespace {

/** The ring's 1240 bytes less the frame that FilledRing puts in front. */
constexpr qsizetype scannedBytes = 1236;

QByteArray randomBytes()
{
    QRandomGenerator generator(1); // with this seed no position holds a correct frame
    QByteArray bytes;
    while (bytes.size() < scannedBytes)
        bytes.append(static_cast<char>(generator.bounded(256)));
    return bytes;
}

QByteArray everyByte124()
{
    return {scannedBytes, char{124}};
}

QByteArray nineFrames()
{
    QByteArray bytes;
    for (char number = 1; number <= 9; ++number)
        bytes += frame(0x40, QByteArray(vnMaxDataLength, number));
    return bytes;
}

/** A receiver with bytes in its ring and no port behind it, so that its calls do nothing but scan.
 */
class FilledRing
{
public:
    bool fill(const QByteArray& bytes)
    {
        serial.openPort(line.path(), 115200);
        coms.emplace(nullptr, &serial);
        // The call that returns the frame in front takes in all that follows.
        line.send(frame(0x40) + bytes);
        vnPacket packet{};
        return coms->receivePacket(packet) && serial.closePort();
    }

    int receiveAll()
    {
        int frames = 0;
        vnPacket packet{};
        while (coms->receivePacket(packet))
            ++frames;
        return frames;
    }

private:
    RawLine line;
    vnSerialComs serial{nullptr, {}, 0};
    std::optional<vnPacketComs> coms;
};

template <typename Work> double secondsFor(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void receive(benchmark::State& state, const QByteArray& bytes, int expectedFrames)
{
    FilledRing ring;
    while (state.KeepRunning()) {
        int frames = -1;
        if (!ring.fill(bytes)) {
            state.SkipWithError("the ring could not be filled");
            return;
        }
        state.SetIterationTime(secondsFor([&] { frames = ring.receiveAll(); }));
        if (frames != expectedFrames) {
            state.SkipWithError("wrong number of frames");
            return;
        }
    }
}

/** What has to be covered by a CRC to tell that a position holds no frame, or that it does. */
std::vector<QByteArrayView> candidates(const QByteArray& bytes, bool wholeFrames)
{
    std::vector<QByteArrayView> found;
    for (qsizetype at = 0; at + vnFrameOverhead <= bytes.size();) {
        const auto length = static_cast<uint8_t>(bytes[at + 1]);
        const bool complete = at + length + vnFrameOverhead <= bytes.size();
        if (length <= vnMaxDataLength && complete)
            found.push_back(QByteArrayView(bytes).sliced(at, length + 2));
        at += wholeFrames ? vnMaxFrameLength : 1;
    }
    return found;
}

void crcOverCandidates(benchmark::State& state, const QByteArray& bytes, bool wholeFrames)
{
    const std::vector<QByteArrayView> parts = candidates(bytes, wholeFrames);
    while (state.KeepRunning()) {
        state.SetIterationTime(secondsFor([&] {
            for (const QByteArrayView part : parts) {
                boost::crc_optimal<16, 0x1021, 0xFFFF, 0xFFFF, true, true> crc;
                crc.process_bytes(part.data(), static_cast<std::size_t>(part.size()));
                benchmark::DoNotOptimize(crc.checksum());
            }
        }));
    }
}

BENCHMARK_CAPTURE(receive, random, randomBytes(), 0)->UseManualTime();
BENCHMARK_CAPTURE(crcOverCandidates, random, randomBytes(), false)->UseManualTime();
BENCHMARK_CAPTURE(receive, every124, everyByte124(), 0)->UseManualTime();
BENCHMARK_CAPTURE(crcOverCandidates, every124, everyByte124(), false)->UseManualTime();
BENCHMARK_CAPTURE(receive, nineFrames, nineFrames(), 9)->UseManualTime();
BENCHMARK_CAPTURE(crcOverCandidates, nineFrames, nineFrames(), true)->UseManualTime();

} // namespace
