#include "report/html/page.h"

#include "report/html/chartData.h"
#include "report/html/document.h"
#include "report/html/htmlText.h"
#include "report/html/runSections.h"
#include "report/html/smallHistogram.h"
#include "report/weigh/batch.h"
#include "report/weigh/comparison.h"
#include "report/weigh/figureText.h"

#include <algorithm>

namespace {

QString differenceMark(Difference difference)
{
    switch (difference) {
    case Difference::Better:
        return QStringLiteral("<span class=\"mark good\">▼ better</span>");
    case Difference::Worse:
        return QStringLiteral("<span class=\"mark bad\">▲ worse</span>");
    case Difference::Unclear:
        return QStringLiteral("<span class=\"mark quiet\">no clear difference</span>");
    case Difference::Reference:
    case Difference::NotJudged:
        break;
    }
    return {};
}

QString differenceTable(const std::vector<Run>& runs)
{
    QStringList headers{QStringLiteral("Less is better")};
    for (const Run& run : runs)
        headers +=
            isolated(run.label) +
            (headers.size() == 1 ? QStringLiteral(" <small>held against</small>") : QString());
    HtmlTable table(QStringLiteral("Differences"), headers);
    QStringList verdicts;
    for (const Run& run : runs)
        verdicts += verdictBadge(run.verdict) + QStringLiteral("<small class=\"reason\">") +
                    isolated(run.reasons.join(QStringLiteral("; "))) + QStringLiteral("</small>");
    table.addRow(QStringLiteral("Verdict"), verdicts);
    for (const ComparedFigure& figure : compareRuns(runs)) {
        const auto text = figure.unit == ComparedFigure::Unit::Percent ? percentCell : latencyCell;
        QStringList cells;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            const Ranged& value = figure.values[i];
            QString cell = text(value.value);
            if (value.low && value.high)
                cell += QStringLiteral(" <small>%1 to %2</small>")
                            .arg(text(value.low), text(value.high));
            cells += cell + differenceMark(figure.differences[i]);
        }
        table.addRow(html(figure.name), cells);
    }
    return table.markup();
}

QString legend(const std::vector<Run>& runs)
{
    QString text = QStringLiteral("<ul class=\"legend\" aria-label=\"Runs\">");
    for (std::size_t i = 0; i < runs.size(); ++i)
        text += QStringLiteral("<li><label class=\"run%1\"><svg viewBox=\"0 0 28 10\" "
                               "aria-hidden=\"true\"><path d=\"M0 5H28\"/></svg>%2</label></li>")
                    .arg(i)
                    .arg(isolated(runs[i].label));
    return text + QStringLiteral("</ul>");
}

QString onePage(const std::vector<Run>& runs)
{
    const Run& run = runs.front();
    return pageHeading(QStringLiteral("Test run ") + isolated(runs.front().label),
                       QStringLiteral("%1 at %2 bits/s, %3")
                           .arg(isolated(run.settings.port))
                           .arg(run.settings.baudRate)
                           .arg(timeText(run.start))) +
           verdictSection(run) + findingsSection(run, QStringLiteral("What this means")) +
           chartsSection(runs) + figuresSection(runs) + testedSection(runs);
}

QString comparisonPage(const std::vector<Run>& runs)
{
    const QStringList unlike = differingSettings(runs);
    const QString warning =
        unlike.isEmpty()
            ? QString()
            : QStringLiteral(
                  "<p class=\"warning\"><b>Not the same test.</b> The runs differ in %1; "
                  "differences in the figures may come from that.</p>")
                  .arg(html(unlike.join(QStringLiteral(", "))));
    QString text =
        pageHeading(QStringLiteral("%1 test runs").arg(runs.size()),
                    QStringLiteral("Held against ") + isolated(runs.front().label)) +
        warning + QStringLiteral("<section><h2>Differences</h2>") + differenceTable(runs) +
        QStringLiteral("<details class=\"note\" open><summary>When a figure is marked"
                       "</summary><p>%1</p></details></section>\n")
            .arg(html(spreadExplanation())) +
        QStringLiteral("<nav class=\"sticky\">%1</nav>").arg(legend(runs)) + chartsSection(runs);
    for (const Run& run : runs)
        text += findingsSection(run, QStringLiteral("What this means: ") + run.label);
    return text + figuresSection(runs) + testedSection(runs);
}

QString groupTable(const std::vector<Run>& runs, const QString& by)
{
    HtmlTable table(QStringLiteral("Groups by %1").arg(by),
                    {isolated(by), QStringLiteral("Runs"), QStringLiteral("Passed"),
                     QStringLiteral("Not passed"), QStringLiteral("Worst loss"),
                     QStringLiteral("Middle p99"), QStringLiteral("Worst p99")});
    for (const Group& group : groupRuns(runs, by))
        table.addRow(group.value.isEmpty() ? QStringLiteral("<i>without it</i>")
                                           : isolated(group.value),
                     {countText(group.runs), countText(group.passed),
                      countText(group.runs - group.passed), percentCell(group.worstLossPercent),
                      latencyCell(group.middleP99Us), latencyCell(group.worstP99Us)});
    return QStringLiteral("<section><h2>Groups by %1</h2>").arg(isolated(by)) + table.markup() +
           QStringLiteral("</section>\n");
}

QString runTable(const std::vector<Run>& runs)
{
    HtmlTable table(QStringLiteral("All runs"),
                    {QStringLiteral("Run"), QStringLiteral("Verdict"), QStringLiteral("Sent"),
                     QStringLiteral("Lost"), QStringLiteral("p50"), QStringLiteral("p99"),
                     QStringLiteral("Longest"), QStringLiteral("Round trips"),
                     QStringLiteral("Start"), QStringLiteral("Reason")});
    const SmallHistogram small(runs);
    const auto sortable = [](const Figure& value, const QString& text) {
        return QStringLiteral("<data value=\"%1\">%2</data>")
            .arg(value ? QString::number(*value, 'g', 8) : QString(), text);
    };
    for (const Run& run : runs) {
        const Latencies& us = run.latencyUs;
        table.addRow(isolated(run.label),
                     {verdictBadge(run.verdict),
                      sortable(static_cast<double>(run.sent), countText(run.sent)),
                      sortable(run.lossPercent(), percentCell(run.lossPercent())),
                      sortable(us.p50, latencyCell(us.p50)), sortable(us.p99, latencyCell(us.p99)),
                      sortable(us.maximum, latencyCell(us.maximum)),
                      sortable(us.p50, small.svg(run)), timeText(run.start),
                      isolated(run.reasons.value(0).left(120))});
    }
    return table.markup();
}

QString batchPage(const std::vector<Run>& runs, const QString& by)
{
    const qint64 passed = countOf(runs, RunVerdict::Passed);
    const qint64 disturbed = countOf(runs, RunVerdict::Disturbed);
    const auto all = static_cast<qint64>(runs.size());
    const auto tile = [](const char* kind, const char* name, qint64 count) {
        return QStringLiteral("<div class=\"%1\"><dt>%2</dt><dd>%3</dd></div>")
            .arg(QLatin1String(kind), QLatin1String(name), countText(count));
    };
    const auto chart = [](const char* id, const char* title, const char* description) {
        return QStringLiteral("<section class=\"figure scripted\" hidden><h3>%1</h3><p "
                              "class=\"quiet\">%2</p>%3</section>")
            .arg(QLatin1String(title), QLatin1String(description),
                 chartPlace(QLatin1String(id), QLatin1String(title), QLatin1String(description)));
    };
    return pageHeading(QStringLiteral("%1 test runs").arg(countText(all)),
                       QStringLiteral("Worst first")) +
           QStringLiteral("<dl class=\"tiles\">") + tile("good", "Passed", passed) +
           tile("bad", "Not passed", all - passed) +
           (disturbed > 0 ? tile("warn", "Disturbed, of those", disturbed) : QString()) +
           tile("", "Runs", all) + QStringLiteral("</dl>\n") +
           (by.isEmpty() ? QString() : groupTable(runs, by)) +
           QStringLiteral("<section><h2>All runs, in the order of their start</h2><div "
                          "class=\"charts\">") +
           chart("batchP99", "p99 of each run",
                 "1 ping in 100 took longer. Circles passed, triangles did not.") +
           chart("batchLoss", "Loss of each run",
                 "Pings lost of 100. Circles passed, triangles did not.") +
           QStringLiteral(
               "</div></section><section id=\"runs\"><h2>All runs, worst first</h2><p "
               "class=\"quiet\">Round trips: all bars have the same logarithmic axis, %1 "
               "on the left and %2 on the right; heights are logarithmic too.</p>")
               .arg(latencyText(SmallHistogram(runs).shortestUs()),
                    latencyText(SmallHistogram(runs).longestUs())) +
           runTable(runs) + QStringLiteral("</section>\n");
}

} // namespace

QString htmlPage(const std::vector<Run>& runs, const QString& by)
{
    if (runs.size() == 1)
        return htmlDocument(runs.front().label + QStringLiteral(" – PacketBrask"), onePage(runs),
                            overlayData(runs));
    const QString title = QStringLiteral("%1 test runs – PacketBrask").arg(runs.size());
    if (runs.size() <= mostOverlaid)
        return htmlDocument(title, comparisonPage(runs), overlayData(runs));
    return htmlDocument(title, batchPage(runs, by), batchData(runs));
}
