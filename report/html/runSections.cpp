#include "report/html/runSections.h"

#include "report/html/chartData.h"
#include "report/html/htmlText.h"
#include "report/weigh/distribution.h"
#include "report/weigh/figureText.h"
#include "report/weigh/findings.h"
#include "report/weigh/timeline.h"

#include <QSet>

#include <functional>
#include <map>

namespace {

using Rows = std::vector<std::pair<QString, std::function<QString(const Run&)>>>;

QStringList columns(const QString& first, const std::vector<Run>& runs)
{
    QStringList headers{first};
    if (runs.size() == 1)
        return headers + QStringList(QStringLiteral("Value"));
    for (const Run& run : runs)
        headers += isolated(run.label);
    return headers;
}

QString sideBySide(const QString& caption, const Rows& rows, const std::vector<Run>& runs,
                   bool numeric)
{
    HtmlTable table(caption, columns(QStringLiteral("Figure"), runs), numeric);
    for (const auto& [name, text] : rows) {
        QStringList cells;
        for (const Run& run : runs)
            cells += text(run);
        table.addRow(html(name), cells);
    }
    return table.markup();
}

QString orDash(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("<abbr title=\"not known\">–</abbr>") : isolated(text);
}

QString settingsText(const RunSettings& settings)
{
    const QString duration = settings.durationSeconds > 0
                                 ? QStringLiteral("for %1 s").arg(settings.durationSeconds)
                                 : QStringLiteral("until stopped");
    QString text =
        QStringLiteral("%1 pings a second of %2 to %3 bytes, %4; time-out %5 ms; module's screen "
                       "%6")
            .arg(settings.packetsPerSecond)
            .arg(settings.minDataSizeBytes)
            .arg(settings.maxDataSizeBytes)
            .arg(duration)
            .arg(settings.timeoutMs)
            .arg(settings.moduleScreen ? QStringLiteral("written") : QStringLiteral("left alone"));
    if (settings.payload != u"random")
        text += QStringLiteral("; payload ") + isolated(settings.payload);
    if (settings.loopback)
        text += QStringLiteral("; a loop-back plug in the module's place");
    return text;
}

QString limitsText(const RunSettings& settings)
{
    QString text = QStringLiteral("loss at most %1 %").arg(numberText(settings.maxLossPercent, 4));
    if (settings.maxLeftOutPercent)
        text += QStringLiteral("; left out by this computer at most %1 %")
                    .arg(numberText(*settings.maxLeftOutPercent, 4));
    if (settings.maxP99Ms)
        text += QStringLiteral("; p99 at most %1 ms").arg(numberText(*settings.maxP99Ms, 3));
    if (settings.maxLatencyMs)
        text +=
            QStringLiteral("; longest at most %1 ms").arg(numberText(*settings.maxLatencyMs, 3));
    return text;
}

QString errorCell(const Run& run, std::optional<qint64> LineErrors::*count)
{
    return run.lineErrors.*count
               ? countText(*(run.lineErrors.*count))
               : QStringLiteral("<abbr title=\"not counted by this port\">–</abbr>");
}

/** One count of a group of counts that older reports do not have. */
template <typename Counts>
std::function<QString(const Run&)> countCell(std::optional<Counts> Run::*counts,
                                             qint64 Counts::*count)
{
    return [counts, count](const Run& run) {
        return run.*counts ? countText(*(run.*counts).*count)
                           : QStringLiteral("<abbr title=\"not counted\">–</abbr>");
    };
}

Rows countRows()
{
    const auto counted = [](qint64 Run::*count) {
        return [count](const Run& run) { return countText(run.*count); };
    };
    const auto errors = [](std::optional<qint64> LineErrors::*count) {
        return [count](const Run& run) { return errorCell(run, count); };
    };
    return {{"Pings sent", counted(&Run::sent)},
            {"Received", counted(&Run::received)},
            {"Lost", counted(&Run::lost)},
            {"Lost of 100", [](const Run& run) { return percentCell(run.lossPercent()); }},
            {"Lost: no echo in time", counted(&Run::noEchoInTime)},
            {"Lost: no echo at the end", counted(&Run::noEchoAtEnd)},
            {"Lost: changed echo", counted(&Run::changedEcho)},
            {"Interruptions (losses in a row)", counted(&Run::lossBursts)},
            {"Longest row of losses", counted(&Run::longestLossBurst)},
            {"Failed sends", counted(&Run::sendFailures)},
            {"Left out: this computer was busy", countCell(&Run::leftOut, &LeftOut::byComputer)},
            {"Left out: the line was full", countCell(&Run::leftOut, &LeftOut::byLine)},
            {"Echoes: late", counted(&Run::lateEchoes)},
            {"Echoes: repeated", counted(&Run::repeatedEchoes)},
            {"Echoes: unknown", counted(&Run::unknownEchoes)},
            {"Echoes: too short", counted(&Run::shortEchoes)},
            {"Echoes: out of order", counted(&Run::outOfOrderEchoes)},
            {"Module's reports", counted(&Run::moduleReports)},
            {"Other packets", counted(&Run::otherPackets)},
            {"Bytes in frames", countCell(&Run::bytes, &ReadBytes::inFrames)},
            {"Bytes of no frame", countCell(&Run::bytes, &ReadBytes::skipped)},
            {"Bytes read too late", countCell(&Run::bytes, &ReadBytes::overrun)},
            {"Line: framing errors", errors(&LineErrors::framing)},
            {"Line: parity errors", errors(&LineErrors::parity)},
            {"Line: breaks", errors(&LineErrors::breaks)},
            {"Line: overruns", errors(&LineErrors::overrun)},
            {"Line: buffer overruns", errors(&LineErrors::bufferOverrun)}};
}

Rows latencyRows()
{
    const auto latency = [](Figure Latencies::*figure) {
        return [figure](const Run& run) { return latencyCell(run.latencyUs.*figure); };
    };
    return {{"Shortest", latency(&Latencies::minimum)},
            {"p50: half took longer", latency(&Latencies::p50)},
            {"p90: 1 in 10 took longer", latency(&Latencies::p90)},
            {"p99: 1 in 100 took longer", latency(&Latencies::p99)},
            {"p99.9: 1 in 1000 took longer", latency(&Latencies::p999)},
            {"Longest", latency(&Latencies::maximum)},
            {"Mean", latency(&Latencies::mean)},
            {"Standard deviation", latency(&Latencies::standardDeviation)},
            {"Round trips timed", [](const Run& run) { return countText(run.timed()); }},
            {"Pings sent late, p99", [](const Run& run) { return latencyCell(run.sendLagP99Us); }},
            {"Pings sent late, most",
             [](const Run& run) { return latencyCell(run.sendLagMaximumUs); }}};
}

QString histogramTable(const Run& run, const QString& caption)
{
    HtmlTable table(caption, {QStringLiteral("From"), QStringLiteral("To less than"),
                              QStringLiteral("Round trips")});
    for (const LatencyBin& bin : coarseHistogram(run.histogram))
        table.addRow(latencyText(bin.lowerUs), {latencyText(bin.upperUs), countText(bin.count)});
    return table.markup();
}

QString tailTable(const Run& run, const QString& caption)
{
    HtmlTable table(caption, {QStringLiteral("1 in"), QStringLiteral("took longer than")});
    const Latencies& us = run.latencyUs;
    const std::map<double, Figure> told{{2, us.p50}, {10, us.p90}, {100, us.p99}, {1000, us.p999}};
    const auto timed = static_cast<double>(run.timed());
    for (double oneIn = 2; oneIn <= timed; oneIn *= oneIn < 10 ? 5 : 10) {
        const auto known = told.find(oneIn);
        table.addRow(countText(static_cast<qint64>(oneIn)),
                     {latencyCell(known == told.end() ? latencyAtShare(run, 1 - 1 / oneIn)
                                                      : known->second)});
    }
    return table.markup();
}

QString rateTable(const Run& run, const QString& caption)
{
    HtmlTable table(caption, {QStringLiteral("From second"), QStringLiteral("Sent"),
                              QStringLiteral("Received"), QStringLiteral("Lost")});
    for (const Interval& interval : timeline(run.seconds, mostIntervals))
        table.addRow(
            numberText(interval.start, 3),
            {countText(interval.sent), countText(interval.received), countText(interval.lost)});
    return table.markup();
}

QString timeTable(const Run& run, const QString& caption)
{
    HtmlTable table(
        caption, {QStringLiteral("From second"), QStringLiteral("p50"), QStringLiteral("Longest")});
    for (const Interval& interval : timeline(run.seconds, mostIntervals))
        table.addRow(numberText(interval.start, 3),
                     {latencyCell(interval.p50Us), latencyCell(interval.maximumUs)});
    return table.markup();
}

using TableMaker = QString (*)(const Run&, const QString&);

QString figure(const QString& id, const QString& title, const QString& description,
               const std::vector<Run>& runs, TableMaker table)
{
    QString text = QStringLiteral("<section class=\"figure\"><h3>%1</h3><p class=\"quiet\">%2</p>")
                       .arg(title, description) +
                   chartPlace(id, title, description) +
                   QStringLiteral("<details open><summary>The figures: %1</summary>").arg(title);
    for (const Run& run : runs)
        text += table(run, runs.size() > 1 ? run.label + QStringLiteral(": ") + title : title);
    return text + QStringLiteral("</details></section>\n");
}

struct VerdictLook
{
    QString tone; ///< CSS class
    QString mark;
};

VerdictLook verdictLook(RunVerdict verdict)
{
    switch (verdict) {
    case RunVerdict::Passed:
        return {QStringLiteral("good"), QStringLiteral("✓")};
    case RunVerdict::Disturbed:
        return {QStringLiteral("warn"), QStringLiteral("!")};
    default:
        return {QStringLiteral("bad"), QStringLiteral("✗")};
    }
}

} // namespace

QString latencyCell(const Figure& us)
{
    return us ? latencyText(us) : QStringLiteral("<abbr title=\"not measured\">–</abbr>");
}

QString percentCell(const Figure& percent)
{
    return percent ? percentText(percent) : latencyCell(percent);
}

QString verdictBadge(RunVerdict verdict)
{
    const auto [tone, mark] = verdictLook(verdict);
    return QStringLiteral("<span class=\"badge %1\"><span aria-hidden=\"true\">%2</span> %3</span>")
        .arg(tone, mark, verdictText(verdict));
}

QString verdictSection(const Run& run)
{
    QString reasons;
    for (const QString& reason : run.reasons)
        reasons += QStringLiteral("<li>") + isolated(reason) + QStringLiteral("</li>");
    if (run.reasons.isEmpty())
        reasons =
            QStringLiteral("<li>The run kept every limit: %1.</li>").arg(limitsText(run.settings));
    const auto tile = [](const QString& name, const QString& value) {
        return QStringLiteral("<div><dt>%1</dt><dd>%2</dd></div>").arg(name, value);
    };
    const auto [tone, mark] = verdictLook(run.verdict);
    return QStringLiteral("<section class=\"verdict %1\"><h2><span class=\"mark\" "
                          "aria-hidden=\"true\">%2</span>%3</h2><ul>%4</ul></section>\n")
               .arg(tone, mark, verdictText(run.verdict), reasons) +
           QStringLiteral("<dl class=\"tiles\">") +
           tile(QStringLiteral("Pings sent"), countText(run.sent)) +
           tile(QStringLiteral("Lost"), countText(run.lost) + QStringLiteral(" <small>") +
                                            percentText(run.lossPercent()) +
                                            QStringLiteral("</small>")) +
           tile(QStringLiteral("Half within (p50)"), latencyCell(run.latencyUs.p50)) +
           tile(QStringLiteral("99 of 100 within"), latencyCell(run.latencyUs.p99)) +
           tile(QStringLiteral("Longest"), latencyCell(run.latencyUs.maximum)) +
           QStringLiteral("</dl>\n");
}

QString findingsSection(const Run& run, const QString& heading)
{
    const std::vector<Finding> found = findings(run);
    if (found.empty())
        return {};
    QString text = QStringLiteral("<section><h2>%1</h2><ul class=\"findings\">").arg(html(heading));
    for (const Finding& finding : found)
        text += QStringLiteral("<li><span class=\"where\">%1</span><div><b>%2.</b> %3</div></li>")
                    .arg(html(finding.where), html(finding.title), html(finding.sentence));
    return text + QStringLiteral("</ul></section>\n");
}

QString testedSection(const std::vector<Run>& runs)
{
    Rows rows{{"Port",
               [](const Run& run) {
                   return QStringLiteral("%1 at %2 bits/s")
                       .arg(isolated(run.settings.port))
                       .arg(run.settings.baudRate);
               }},
              {"Adapter", [](const Run& run) { return orDash(adapterText(run)); }}};
    QSet<QString> names;
    for (const Run& run : runs)
        for (auto tag = run.tags.begin(); tag != run.tags.end(); ++tag)
            names.insert(tag.key());
    QStringList sorted(names.begin(), names.end());
    sorted.sort();
    for (const QString& tag : std::as_const(sorted))
        rows.emplace_back(QStringLiteral("Tag ") + tag,
                          [tag](const Run& run) { return orDash(run.tags.value(tag)); });
    rows.insert(rows.end(),
                {{"Computer", [](const Run& run) { return orDash(hostText(run)); }},
                 {"Settings", [](const Run& run) { return settingsText(run.settings); }},
                 {"Limits", [](const Run& run) { return limitsText(run.settings); }},
                 {"Pings a second, truly",
                  [](const Run& run) {
                      return run.achievedPacketsPerSecond
                                 ? numberText(*run.achievedPacketsPerSecond, 2)
                                 : latencyCell({});
                  }},
                 {"Start", [](const Run& run) { return timeText(run.start); }},
                 {"End", [](const Run& run) { return timeText(run.end); }},
                 {"Timing",
                  [](const Run& run) {
                      return run.exactTiming ? QStringLiteral("at the line")
                                             : QStringLiteral("as the window's");
                  }},
                 {"Report", [](const Run& run) {
                      return isolated(run.path) + QStringLiteral(", by packetbrask-run ") +
                             isolated(run.version);
                  }}});
    return QStringLiteral("<section><h2>What was tested</h2>") +
           sideBySide(QStringLiteral("What was tested"), rows, runs, false) +
           QStringLiteral("</section>\n");
}

QString figuresSection(const std::vector<Run>& runs)
{
    QString replies;
    for (const Run& run : runs)
        for (const ErrorReply& reply : run.errorReplies)
            replies += QStringLiteral("<li>Error reply %1: %2 times</li>")
                           .arg(reply.code ? QString::number(*reply.code) + QStringLiteral(", ") +
                                                 isolated(reply.text)
                                           : QStringLiteral("with no code"),
                                countText(reply.count));
    if (!replies.isEmpty())
        replies = QStringLiteral("<ul>%1</ul>").arg(replies);
    return QStringLiteral("<section><h2>Counts and round trips</h2><div class=\"pair\">") +
           sideBySide(QStringLiteral("Round trips"), latencyRows(), runs, true) +
           sideBySide(QStringLiteral("Counts"), countRows(), runs, true) +
           QStringLiteral("</div>") + replies + QStringLiteral("</section>\n");
}

QString chartPlace(const QString& id, const QString& title, const QString& description)
{
    return QStringLiteral("<div class=\"chart\" hidden><canvas id=\"%1\" role=\"img\" "
                          "aria-label=\"%2. %3 The table below has the figures.\"></canvas></div>")
        .arg(id, html(title), html(description));
}

QString chartsSection(const std::vector<Run>& runs)
{
    const auto chart = [&](const char* id, const char* title, const char* description,
                           TableMaker table) {
        return figure(QLatin1String(id), QLatin1String(title), QLatin1String(description), runs,
                      table);
    };
    return QStringLiteral(
               "<section><h2>Charts</h2><div id=\"legend\"></div><div class=\"charts\">") +
           chart("histogram", "How long round trips took",
                 "Both axes are logarithmic, so that one slow ping of thousands can be seen.",
                 histogramTable) +
           chart("tail", "How rare the slow ones are",
                 "At 1000 stands what 1 ping in 1000 took longer than.", tailTable) +
           chart("rate", "Pings a second",
                 "Sent and received; a triangle marks a time with losses.", rateTable) +
           chart(
               "latency", "Round trips over time",
               "The middle one and the longest of each interval. Long runs are shown in intervals "
               "of several seconds, whose p50 is the middle one of the seconds.",
               timeTable) +
           QStringLiteral("</div></section>\n");
}
