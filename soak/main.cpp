// packetbrask-soak MINUTES SEED: exit status 0 when nothing disagreed, 1 when something did.

#include "soak/Dice.h"
#include "soak/RunJudgement.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>

#include <malloc.h>

namespace {

constexpr int anyBaudRate = 115200; // of no effect on a pseudo-terminal
/** Queues between the threads keep the room that their longest burst took. */
constexpr quint64 heapSlackKb = 256;

void pass(int ms)
{
    QThread::msleep(static_cast<unsigned long>(ms));
}

/** The descriptors and the threads of this process. */
QString processUse()
{
    const auto count = [](const char* path) {
        return QDir(path).entryList(QDir::AllEntries | QDir::System).size() - 2;
    };
    return QString::asprintf("%lld descriptors, %lld threads", count("/proc/self/fd"),
                             count("/proc/self/task"));
}

struct Soak
{
    QTemporaryDir directory{};
    SoakRecord record{};
    std::array<EngineBench, 2> engines{EngineBench(false), EngineBench(true)};
    Dice dice{};

    // Of the session.
    bool isExact = false;
    ModuleFaults faults{};
    std::unique_ptr<ModuleThread> module{};
    qint64 cutNs = RunAccount::never; ///< when the line was cut, by the steady clock
    quint64 arrivals = 0;             ///< of pings, to be expected
    bool lineIsGood = false;          ///< and holds nothing that could turn up in the next run

    EngineBench& engine() { return engines.at(isExact ? 1 : 0); }
    QString path(const char* name) const { return directory.filePath(name); }

    /** True when nothing disagreed. Equal seeds play equally. */
    bool play(double minutes, quint64 firstSeed)
    {
        QTextStream out(stdout);
        quint64 settledKb = 0;
        const QStringList& wrong = record.disagreements;
        for (quint64 seed = firstSeed; minutes > 0 && wrong.isEmpty(); ++seed, --minutes) {
            out << "seed " << seed << Qt::endl;
            dice.numbers.seed(seed);
            const QString use = processUse();
            const QDeadlineTimer end(static_cast<int>(std::min(minutes, 1.0) * 60'000));
            while (wrong.isEmpty() && !end.hasExpired()) {
                playSession();
                // A thread that has ended stays in the system's list for a moment.
                for (const QDeadlineTimer late(5000); processUse() != use && !late.hasExpired();)
                    pass(2);
                record.check(processUse() == use, use + " became " + processUse());
            }
            malloc_trim(0);
            const quint64 heapKb = mallinfo2().uordblks / 1024;
            settledKb = seed == firstSeed ? heapKb : settledKb;
            record.check(heapKb <= settledKb + heapSlackKb, "the heap in use grew");
            for (auto total = record.totals.begin(); total != record.totals.end(); ++total)
                out << total.key() << ' ' << *total << "; ";
            out << processUse() << ", " << heapKb << " kB of heap in use" << Qt::endl;
        }
        directory.setAutoRemove(wrong.isEmpty());
        out << (wrong.isEmpty() ? "Nothing disagreed." : "DISAGREEMENT: ")
            << wrong.mid(0, 20).join("\n  ") << Qt::endl;
        return wrong.isEmpty();
    }

    void playSession()
    {
        ++record.totals["sessions"];
        isExact = dice.happens(0.5);
        faults = dice.faults();
        if (dice.happens(0.1))
            connectEngine(false);
        plugIn();
        pass(dice.upTo(1500));
        if (dice.happens(0.05))
            cutLine("unplugged", &ModuleThread::unplug);
        playRun();
        if (dice.happens(0.5)) {
            if (!lineIsGood)
                plugIn();
            playRun();
        }
        unplug();
        engine().failures = 0;
        engine().have([](BraskTestWorker& it) { it.startTest(TestConfig{}); });
        record.check(engine().failures == 1, "started unconnected");
    }

    void connectEngine(bool shouldWork)
    {
        ++record.totals[shouldWork ? "connections" : "connections refused"];
        engine().have([this](BraskTestWorker& it) { it.connectToPort(path("line"), anyBaudRate); });
        record.check(engine().isConnected == shouldWork, "wrongly connected or not");
    }

    void plugIn()
    {
        unplug();
        module = std::make_unique<ModuleThread>(faults);
        QFile::link(module->path(), path("line"));
        cutNs = RunAccount::never;
        lineIsGood = true;
        arrivals = 0;
        connectEngine(true);
    }

    void unplug()
    {
        engine().have([](BraskTestWorker& it) { it.disconnectPort(); });
        record.check(!engine().isConnected, "no disconnection");
        module.reset();
        QFile::remove(path("line"));
    }

    void cutLine(const char* count, void (ModuleThread::*how)())
    {
        ++record.totals[count];
        lineIsGood = false;
        cutNs = std::min(cutNs, SteadyClock().nowNs());
        (module.get()->*how)();
    }

    void playRun()
    {
        const int trouble = dice.upTo(14); // 0 and 1 unplug, in the final wait 1, 2 stalls
        const int ending = dice.upTo(9);   // 0 to 2 by itself, 3 disconnects, 4 to 6 stops twice
        QFile::remove(path("events.csv"));
        engine().startRun(dice.config(ending < 3), path("events.csv"));
        pass(dice.upTo(2500));
        engine().have([this](BraskTestWorker& it) { // of which it takes no notice
            it.refreshPorts();
            it.connectToPort(path("line"), anyBaudRate);
            it.startTest(TestConfig{});
        });
        pass(dice.upTo(3000));
        if (trouble == 0)
            cutLine("unplugged", &ModuleThread::unplug);
        else if (trouble == 2)
            cutLine("stalled", &ModuleThread::stall);
        pass(dice.upTo(trouble > 2 ? 0 : 1000));
        for (int i = ending < 3 ? 2 : (ending < 7 ? 0 : 1); i < 2; ++i)
            engine().post(ending == 3 ? "disconnectPort" : "stopTest");
        pass(dice.upTo(trouble == 1 ? 600 : 0));
        if (trouble == 1)
            cutLine("unplugged", &ModuleThread::unplug);
        judge();
        lineIsGood = lineIsGood && ending != 3;
    }

    void judge()
    {
        const auto run = engine().takeRun();
        run->faults = faults;
        run->cutNs = cutNs;
        arrivals += run->stats.packetsSent;
        const QDeadlineTimer patience(lineIsGood && faults.baudRate == 0 ? 20000 : 0);
        while (module->counts().pingsReceived < arrivals && !patience.hasExpired())
            pass(2);
        run->arrived = module->takePings();
        lineIsGood = judgeRun(*run, record) && lineIsGood;
        judgeEventFile(path("events.csv"), *run, record);
        ++record.totals["runs"];
        record.totals["sent"] += run->stats.packetsSent;
        record.totals["received"] += run->stats.packetsReceived;
        record.totals["event rows"] += static_cast<quint64>(run->lines.size());
    }
};

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    return Soak().play(arguments.value(1).toDouble(), arguments.value(2).toULongLong()) ? 0 : 1;
}
