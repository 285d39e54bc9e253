#include "tests/support/RunTruth.h"

ModuleFaults manyFaults()
{
    return {.seed = 1,
            .drop = 0.1,
            .corrupt = 0.05,
            .alter = 0.05,
            .truncate = 0.05,
            .duplicate = 0.1,
            .garbage = 0.2,
            .report = 0.1,
            .split = 0.1};
}

QString disagreement(ModuleThread& module, quint64 sent, quint64 received, quint64 lost,
                     const QString& log)
{
    const ModuleCounts truth = module.counts();
    const auto unaccounted = [&](const char* line, quint64 accounted) {
        const auto lines = static_cast<quint64>(log.count(line));
        return lines - std::min(lines, accounted);
    };
    const quint64 byChance = unaccounted("Device report", truth.reports) +
                             unaccounted("Device error response", truth.errorReplies) +
                             unaccounted("unexpected packet", 0);
    const bool agrees = sent == truth.pingsReceived && received + lost == sent &&
                        received <= truth.echoesIntact && truth.echoesIntact - received <= byChance;
    const auto text =
        QStringLiteral("%1 sent, %2 received, %3 lost; %4 pings, %5 echoes, %6 strays");
    return agrees ? QString()
                  : text.arg(sent)
                        .arg(received)
                        .arg(lost)
                        .arg(truth.pingsReceived)
                        .arg(truth.echoesIntact)
                        .arg(byChance);
}
