#pragma once

#include "engine/BraskTestWorker.h"
#include "link/vnSerialComs.h"
#include "simulator/RequestParser.h"
#include "tests/support/HandTiming.h"
#include "tests/support/RawLine.h"
#include "tests/support/frame.h"

#include <QtCore>

#include <utility>

/** What the engine tells an observer, a word a call; moments in ms since the run's begin. */
struct Told : PingObserver
{
    QStringList calls; ///< of the last run
    qint64 startNs = 0;
    qint64 lastNs = 0; ///< moment of the last call
    qint64 lastDueNs = 0;
    qint64 roundTripNs = 0; ///< of the last echo

    template <typename... Figures> void tell(qint64 ns, const char* what, Figures... figures)
    {
        lastNs = ns;
        calls +=
            QString::asprintf(what, figures...) + ' ' + QString::number((ns - startNs) / 1'000'000);
    }
    void tellEcho(const char* what, const Echo& echo)
    {
        roundTripNs = echo.roundTripNs;
        tell(echo.readNs, "%s%llu(%lld%s)", what, echo.id, roundTripNs / 1'000'000,
             echo.afterEnd ? " afterwards" : "");
    }
    void runBegan(qint64 ns) override
    {
        calls.clear();
        startNs = ns;
    }
    void pingSent(const Sent& ping) override
    {
        lastDueNs = ping.dueNs;
        tell(ping.startNs, "sent%llu(%d)", ping.id, ping.sizeBytes);
    }
    void sendFailed(quint64 id, int size, qint64 ns) override
    {
        tell(ns, "failed%llu(%d)", id, size);
    }
    void echoMatched(const Echo& echo) override { tellEcho("matched", echo); }
    void echoChanged(const Echo& echo) override { tellEcho("changed", echo); }
    void pingGivenUp(quint64 id, qint64 ns, bool atEnd) override
    {
        tell(ns, "%s%llu", atEnd ? "lost" : "expired", id);
    }
    void otherArrived(Other what, quint64 id, qint64 ns) override
    {
        const char* names[] = {"late", "unknown", "short", "report", "packet"};
        tell(ns, "%s%llu", names[int(what)], id);
    }
    void errorReplied(int code, qint64 ns) override { tell(ns, "error%d", code); }
    void sendingEnded(qint64 ns) override { tell(ns, "%s", "stopped"); }
    void runEnded(qint64 ns) override { tell(ns, "%s", "ended"); }
};

/** An engine whose every step the test takes itself, or lets happen by letting time pass. */
struct EngineBench
{
    enum Use { Window, Instrument }; ///< the instrument leaves the screen alone, spares the line

    HandTiming* time = new HandTiming; ///< the engine's
    /**
     * What the engine reports: "TYPE: message", "error: ..." and the other signals by name; and
     * what an answering module hears of its screen.
     */
    QStringList lines;
    bool timed = false; ///< each line begins with the ms since the last start()
    TestStats stats;    ///< the last ones reported
    RawLine line;
    Told told;
    qint64 startNs = 0;                 ///< of the last start()
    RequestParser parser;               ///< of an answering module
    QMultiMap<int, QByteArray> replies; ///< it owes, by the ms since the last start()
    std::unique_ptr<BraskTestWorker> held;
    BraskTestWorker& worker;

    /** Random bytes may end a frame as an echo begins, which is then waited for. */
    explicit EngineBench(Use use = Window, Payload::Kind filler = Payload::Kind::Counting)
        : held(makeEngine(use, filler)), worker(*held)
    {
        using W = BraskTestWorker;
        const auto on = [this](auto signal, auto text) {
            QObject::connect(&worker, signal, &worker,
                             [this, text](const auto&... what) { write(text(what...), nowMs()); });
        };
        using Text = const QString&;
        on(&W::logMessage, [](Text type, Text message) { return type + ": " + message; });
        on(&W::errorOccurred, [](Text error) { return "error: " + error; });
        on(&W::connectionChanged, [](bool is) { return is ? "connected" : "disconnected"; });
        on(&W::testCompleted, [] { return "completed"; });
        on(&W::statisticsUpdated, [this](const TestStats& now) {
            stats = now;
            return QString::asprintf("statistics %llu/%llu/%llu %.1f%% %d %d..%d %llu",
                                     now.packetsSent, now.packetsReceived, now.packetsLost,
                                     now.successRate, now.avgLatencyMs, now.minLatencyMs,
                                     now.maxLatencyMs, now.totalLatencyMs);
        });
    }

    /** Connected, and in a run of pings of `size` bytes. */
    EngineBench(int size, int timeoutMs) : EngineBench()
    {
        connectIt();
        start({.minDataSize = size, .maxDataSize = size, .timeoutMs = timeoutMs});
        take();
    }

    vnSerialComs& port() const { return *worker.findChild<vnSerialComs*>(); }
    int nowMs() const { return int((time->nowNs() - startNs) / 1'000'000); }
    void write(const QString& text, int ms)
    {
        lines += timed ? QStringLiteral("%1 %2").arg(ms).arg(text) : text;
    }
    /** What came since the last take. */
    QStringList take() { return std::exchange(lines, {}); }

    void connectIt()
    {
        worker.connectToPort(line.path(), 115200);
        line.take(4); // the request that blanks the screen
        take();
    }

    void start(const TestConfig& config)
    {
        startNs = time->nowNs();
        worker.startTest(config);
    }

    void step(const char* slot) { QMetaObject::invokeMethod(&worker, slot, Qt::DirectConnection); }

    /** Sends one ping; its payload as the module sees it, empty when nothing was sent. */
    QByteArray ping()
    {
        step("sendNextPacket");
        const QByteArray bytes = line.take(0);
        return bytes.mid(2, bytes.size() - 4);
    }

    void answer(const QByteArray& frames)
    {
        line.send(frames);
        step("pollForPackets");
    }

    /** From now on the module answers ping `id` after `delayMs(id)`, 1 or more; 0: not at all. */
    void answerAfter(const std::function<int(quint64 id)>& delayMs)
    {
        time->meanwhile = [this, delayMs] {
            const int sentMs = nowMs() - 1; // what comes now was sent a millisecond ago
            parser.feed(line.take(0));
            while (const auto request = parser.next(RequestParser::Line::Quiet)) {
                const QByteArray text = request->data.mid(2);
                if (request->command == 31)
                    write(QStringLiteral("%1,%2 ")
                                  .arg(int{request->data[0]})
                                  .arg(int{request->data[1]}) +
                              (isNow(text) ? "NOW" : text),
                          sentMs);
                if (request->command != 0)
                    continue;
                const auto id = qFromLittleEndian<quint64>(request->data.constData());
                if (const int delay = delayMs(id))
                    replies.insert(sentMs + delay, frame(0x40, request->data));
            }
            while (!replies.isEmpty() && replies.firstKey() <= nowMs())
                line.send(replies.take(replies.firstKey()));
        };
    }

private:
    std::unique_ptr<BraskTestWorker> makeEngine(Use use, Payload::Kind filler)
    {
        time->exact = use == Instrument;
        BraskTestWorker::Setup setup{.timing = std::unique_ptr<EngineTiming>(time),
                                     .observer = &told,
                                     .writesScreen = use == Window,
                                     .payload = Payload(filler)};
        return std::make_unique<BraskTestWorker>(std::move(setup));
    }

    /** Whether a clock showed this at most five seconds ago. */
    static bool isNow(const QByteArray& text)
    {
        const auto shown = QDateTime::fromString(text, "MM/dd/yy hh:mm:ss").addYears(100);
        const qint64 secondsAgo = shown.secsTo(QDateTime::currentDateTime());
        return shown.isValid() && secondsAgo >= 0 && secondsAgo <= 5;
    }
};
