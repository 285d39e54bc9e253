#include "report/text/textReport.h"

#include "report/text/TextTable.h"
#include "report/weigh/batch.h"
#include "report/weigh/comparison.h"
#include "report/weigh/figureText.h"
#include "report/weigh/findings.h"

namespace {

QString oneRun(const Run& run)
{
    QString text = QStringLiteral("%1: %2\n").arg(printable(run.label), verdictText(run.verdict));
    for (const QString& reason : run.reasons)
        text += QStringLiteral("  %1\n").arg(printable(reason));
    text += QStringLiteral("%1 at %2 bits/s, %3\n")
                .arg(printable(run.settings.port))
                .arg(run.settings.baudRate)
                .arg(timeText(run.start));
    for (auto tag = run.tags.begin(); tag != run.tags.end(); ++tag)
        text += QStringLiteral("  %1: %2\n").arg(printable(tag.key()), printable(*tag));
    TextTable table;
    table.addRow({QStringLiteral("Sent"), countText(run.sent)});
    table.addRow({QStringLiteral("Received"), countText(run.received)});
    table.addRow({QStringLiteral("Lost"), countText(run.lost), percentText(run.lossPercent())});
    const Latencies& us = run.latencyUs;
    for (const auto& [name, figure] : {std::pair("Shortest", us.minimum),
                                       {"p50", us.p50},
                                       {"p90", us.p90},
                                       {"p99", us.p99},
                                       {"p99.9", us.p999},
                                       {"Longest", us.maximum}})
        table.addRow({QLatin1String(name), latencyText(figure)});
    text += table.text();
    for (const Finding& finding : findings(run))
        text += QStringLiteral("%1 [%2]: %3\n").arg(finding.title, finding.where, finding.sentence);
    return text;
}

QString differenceWord(Difference difference)
{
    switch (difference) {
    case Difference::Better:
        return QStringLiteral(" better");
    case Difference::Worse:
        return QStringLiteral(" worse");
    case Difference::Unclear:
        return QStringLiteral(" ~");
    case Difference::Reference:
    case Difference::NotJudged:
        break;
    }
    return {};
}

QString comparison(const std::vector<Run>& runs)
{
    TextTable table;
    QStringList names{QStringLiteral("Less is better")};
    QStringList verdicts{QStringLiteral("Verdict")};
    for (const Run& run : runs) {
        names += printable(run.label);
        verdicts += verdictText(run.verdict);
    }
    table.addRow(names);
    table.addRow(verdicts);
    for (const ComparedFigure& figure : compareRuns(runs)) {
        const auto text = figure.unit == ComparedFigure::Unit::Percent ? percentText : latencyText;
        QStringList cells{figure.name};
        for (std::size_t i = 0; i < runs.size(); ++i)
            cells += text(figure.values[i].value) + differenceWord(figure.differences[i]);
        table.addRow(cells);
    }
    const QStringList unlike = differingSettings(runs);
    return table.text() +
           (unlike.isEmpty() ? QString()
                             : QStringLiteral("Not the same test; the runs differ in %1.\n")
                                   .arg(unlike.join(QStringLiteral(", ")))) +
           QStringLiteral("~: no clear difference. %1\n")
               .arg(spreadExplanation().remove(QStringLiteral(", in small print,")));
}

QString groups(const std::vector<Run>& runs, const QString& by)
{
    TextTable table;
    table.addRow({printable(by), QStringLiteral("Runs"), QStringLiteral("Passed"),
                  QStringLiteral("Worst loss"), QStringLiteral("Worst p99")});
    for (const Group& group : groupRuns(runs, by))
        table.addRow(
            {group.value.isEmpty() ? QStringLiteral("(without it)") : printable(group.value),
             countText(group.runs), countText(group.passed), percentText(group.worstLossPercent),
             latencyText(group.worstP99Us)});
    return table.text() + u'\n';
}

QString batch(const std::vector<Run>& runs)
{
    TextTable table;
    table.addRow({QStringLiteral("Worst first"), QStringLiteral("Verdict"), QStringLiteral("Sent"),
                  QStringLiteral("Lost"), QStringLiteral("p50"), QStringLiteral("p99"),
                  QStringLiteral("Longest")});
    for (const Run& run : runs) {
        table.addRow({printable(run.label), verdictText(run.verdict), countText(run.sent),
                      percentText(run.lossPercent()), latencyText(run.latencyUs.p50),
                      latencyText(run.latencyUs.p99), latencyText(run.latencyUs.maximum)});
    }
    QString summary = QStringLiteral("%1 of %2 runs passed")
                          .arg(countOf(runs, RunVerdict::Passed))
                          .arg(runs.size());
    if (const qint64 disturbed = countOf(runs, RunVerdict::Disturbed))
        summary += QStringLiteral(", %1 disturbed").arg(disturbed);
    return summary + u'\n' + table.text();
}

} // namespace

QString textReport(const std::vector<Run>& runs, const QString& by)
{
    if (runs.size() == 1)
        return oneRun(runs.front());
    if (runs.size() <= mostOverlaid)
        return comparison(runs);
    return (by.isEmpty() ? QString() : groups(runs, by)) + batch(runs);
}
