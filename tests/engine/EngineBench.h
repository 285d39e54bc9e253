#pragma once

#include "engine/BraskTestWorker.h"
#include "link/vnSerialComs.h"
#include "simulator/RequestParser.h"
#include "tests/support/HandTiming.h"
#include "tests/support/RawLine.h"

#include <QDateTime>
#include <QMultiMap>
#include <QtEndian>

#include <utility>

/** What the engine tells an observer, a word a call; moments in ms since the run's begin. */
struct Told : PingObserver
{
    QStringList calls;
    qint64 startNs = 0;
    qint64 lastNs = 0; ///< moment of the last call
    Sent lastSent{};
    Echo lastEcho{};

    void tell(const QString& what, qint64 atNs)
    {
        lastNs = atNs;
        calls += QStringLiteral("%1 %2").arg(what).arg((atNs - startNs) / 1'000'000);
    }
    void runBegan(qint64 atNs) override
    {
        startNs = atNs;
        tell("began", atNs);
    }
    void pingSent(const Sent& ping) override
    {
        lastSent = ping;
        tell(QStringLiteral("sent%1(%2)").arg(ping.id).arg(ping.sizeBytes), ping.startNs);
    }
    void sendFailed(quint64 id, int size, qint64 atNs) override
    {
        tell(QStringLiteral("failed%1(%2)").arg(id).arg(size), atNs);
    }
    void echoMatched(const Echo& echo) override { tellEcho("matched", echo); }
    void echoChanged(const Echo& echo) override { tellEcho("changed", echo); }
    void tellEcho(const QString& what, const Echo& echo)
    {
        lastEcho = echo;
        const qint64 tripMs = echo.roundTripNs / 1'000'000;
        tell(QStringLiteral("%1%2(%3%4)")
                 .arg(what)
                 .arg(echo.id)
                 .arg(tripMs)
                 .arg(echo.afterEnd ? " afterwards" : ""),
             echo.readNs);
    }
    void pingGivenUp(quint64 id, qint64 atNs, bool atEnd) override
    {
        tell(QStringLiteral("%1%2").arg(atEnd ? "lost" : "expired").arg(id), atNs);
    }
    void otherArrived(Other what, quint64 id, qint64 atNs) override
    {
        const char* names[] = {"late", "unknown", "short", "report", "packet"};
        tell(QStringLiteral("%1%2").arg(names[int(what)]).arg(id), atNs);
    }
    void errorReplied(int code, qint64 atNs) override
    {
        tell(QStringLiteral("error%1").arg(code), atNs);
    }
    void sendingEnded(qint64 atNs) override { tell("stopped", atNs); }
    void runEnded(qint64 atNs) override { tell("ended", atNs); }
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
    QList<int> pingsMs; ///< when an answering module was sent its pings, since the last start()
    RawLine line;
    Told told;
    qint64 startNs = 0;                 ///< of the last start()
    RequestParser parser;               ///< of an answering module
    QMultiMap<int, QByteArray> replies; ///< it owes, by the ms since the last start()
    std::unique_ptr<BraskTestWorker> held;
    BraskTestWorker& worker;

    explicit EngineBench(Use use = Window) : held(makeEngine(use)), worker(*held)
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
        on(&W::portsEnumerated, [](const QList<portInfo>& ports) {
            return QStringLiteral("ports %1").arg(ports.size());
        });
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
        pingsMs.clear();
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
            hear(delayMs);
            for (auto due = replies.begin(); due != replies.end() && due.key() <= nowMs();
                 due = replies.erase(due))
                line.send(due.value());
        };
    }

private:
    std::unique_ptr<BraskTestWorker> makeEngine(Use use)
    {
        time->spares = use == Instrument;
        BraskTestWorker::Setup setup{std::unique_ptr<EngineTiming>(time), &told, use == Window};
        return std::make_unique<BraskTestWorker>(std::move(setup));
    }

    /** Takes in what the engine has sent a millisecond ago. */
    void hear(const std::function<int(quint64 id)>& delayMs)
    {
        const int sentMs = nowMs() - 1;
        parser.feed(line.take(0));
        while (const auto request = parser.next(RequestParser::Line::Quiet)) {
            const QByteArray& data = request->data;
            if (request->command == 31) {
                write(QStringLiteral("%1,%2 ").arg(int{data[0]}).arg(int{data[1]}) +
                          (isNow(data.mid(2)) ? "NOW" : data.mid(2)),
                      sentMs);
            } else if (request->command == 0) {
                pingsMs += sentMs;
                const int delay = delayMs(qFromLittleEndian<quint64>(data.constData()));
                if (delay > 0)
                    replies.insert(sentMs + delay, frame(0x40, data));
            } else {
                write("another request", sentMs);
            }
        }
    }
    /** Whether a clock showed this at most five seconds ago. */
    static bool isNow(const QByteArray& text)
    {
        const QDateTime now = QDateTime::currentDateTime();
        int ago = 0;
        while (ago < 6 && now.addSecs(-ago).toString("MM/dd/yy hh:mm:ss") != text)
            ++ago;
        return ago < 6;
    }
};
