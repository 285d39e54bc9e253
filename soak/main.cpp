// packetbrask-soak MINUTES [--seed N]: exit status 0 when nothing disagreed, 1 when something did,
// 2 for a wrong command line.

#include "soak/EngineDriver.h"
#include "soak/ProcessUse.h"
#include "soak/SoakSession.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

constexpr qint64 minuteMs = 60'000;
/**
 * What the heap in use may grow by after the first minute: queues between the threads keep the room
 * that their longest burst took. A thread's cache, which counts as in use, must be switched off.
 */
constexpr qint64 heapSlackKb = 256;
constexpr int leakPatienceMs = 5000;

struct SoakOptions
{
    double minutes = 0;
    quint64 seed = 0;
};

std::optional<SoakOptions> parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("minutes"), {});
    parser.addOption({QStringLiteral("seed"), {}, QStringLiteral("n")});
    if (!parser.parse(arguments) || parser.positionalArguments().size() != 1)
        return std::nullopt;
    SoakOptions options;
    bool isNumber = false;
    options.minutes = parser.positionalArguments().constFirst().toDouble(&isNumber);
    bool isSeed = true;
    options.seed = parser.isSet(QStringLiteral("seed"))
                       ? parser.value(QStringLiteral("seed")).toULongLong(&isSeed)
                       : std::random_device{}();
    if (!isNumber || !(options.minutes > 0) || !isSeed)
        return std::nullopt;
    return options;
}

QString leak(const ProcessUse& start, const ProcessUse& now)
{
    if (now.descriptors != start.descriptors)
        return QStringLiteral("%1 descriptors became %2")
            .arg(start.descriptors)
            .arg(now.descriptors);
    if (now.threads != start.threads)
        return QStringLiteral("%1 threads became %2").arg(start.threads).arg(now.threads);
    return {};
}

void printTotals(QTextStream& out, const SoakTotals& sums, const ProcessUse& use)
{
    out << sums.sessions << " sessions, " << sums.connections << " connections and "
        << sums.refusedConnections << " refused, " << sums.unplugs << " unplugged, " << sums.stalls
        << " stalled\n"
        << sums.runs << " runs: sent " << sums.sent << ", received " << sums.received << ", lost "
        << sums.lost << ", sends failed " << sums.failedSends << ", event rows " << sums.eventRows
        << '\n'
        << "accounts:";
    for (size_t i = 0; i < accountNames.size(); ++i)
        out << (i == 0 ? " " : ", ") << accountNames.at(i) << ' ' << sums.runsByAccount.at(i);
    out << "; " << sums.framesUnread << " frames unread with an excuse\n"
        << use.descriptors << " descriptors, " << use.threads << " threads, " << use.residentKb
        << " kB resident, " << use.heapKb << " kB of heap in use" << Qt::endl;
}

/** One seed for a minute at most; what went wrong. */
QStringList playMinute(EngineDriver& engine, const QString& directory, quint64 seed, qint64 limitMs,
                       SoakTotals& sums)
{
    std::mt19937_64 generator(seed);
    QElapsedTimer clock;
    clock.start();
    QStringList complaints;
    const ProcessUse start = ProcessUse::now();
    while (complaints.isEmpty() && clock.elapsed() < limitMs) {
        SoakSession session(engine, directory, sums);
        complaints = session.play(drawSession(generator));
        QString growth; // a thread that has ended stays in the system's list for a moment
        const auto nothingLeaked = [&] {
            growth = leak(start, ProcessUse::now());
            return growth.isEmpty();
        };
        if (!engine.until(nothingLeaked, leakPatienceMs))
            complaints += growth;
    }
    return complaints;
}

int soak(const SoakOptions& options, QTextStream& out)
{
    QTemporaryDir directory;
    EngineDriver engine;
    SoakTotals sums;
    qint64 settledHeapKb = 0;
    auto remainingMs = static_cast<qint64>(options.minutes * minuteMs);
    for (quint64 seed = options.seed; remainingMs > 0; ++seed, remainingMs -= minuteMs) {
        out << "seed " << seed << Qt::endl;
        QStringList complaints =
            playMinute(engine, directory.path(), seed, std::min(remainingMs, minuteMs), sums);
        engine.forgetRun();
        const ProcessUse use = ProcessUse::now();
        if (seed == options.seed)
            settledHeapKb = use.heapKb;
        if (use.heapKb > settledHeapKb + heapSlackKb)
            complaints += QStringLiteral("the heap in use grew from %1 to %2 kB")
                              .arg(settledHeapKb)
                              .arg(use.heapKb);
        printTotals(out, sums, use);
        if (complaints.isEmpty())
            continue;
        directory.setAutoRemove(false);
        out << "DISAGREEMENT:\n  " << complaints.join(QStringLiteral("\n  "))
            << "\nThe last event file is in " << directory.path()
            << "\nTo repeat: scripts/soak 1 --seed " << seed
            << "; for a heap that grew, all minutes from --seed " << options.seed << Qt::endl;
        return 1;
    }
    out << "Nothing disagreed." << Qt::endl;
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    const std::optional<SoakOptions> options = parse(QCoreApplication::arguments());
    if (!options) {
        QTextStream(stderr) << "packetbrask-soak: give the minutes, above 0, and perhaps --seed "
                               "with a number"
                            << Qt::endl;
        return 2;
    }
    return soak(*options, out);
}
