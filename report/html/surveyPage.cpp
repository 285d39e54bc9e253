#include "report/html/surveyPage.h"

#include "report/html/chartData.h"
#include "report/html/document.h"
#include "report/html/htmlText.h"
#include "report/html/runSections.h"
#include "report/weigh/figureText.h"
#include "report/weigh/surveyWords.h"

namespace {

QString sizeText(const SurveySize& size)
{
    return QStringLiteral("%1 bytes").arg(size.sizeBytes);
}

QString rateCell(const std::optional<SurveyRate>& rate)
{
    return rate ? QStringLiteral("%1/s <small>%2</small>")
                      .arg(countText(rate->packetsPerSecond), percentText(rate->capacityPercent))
                : latencyCell({});
}

/**
 * Returns a cell with the rate without loss or, if the loss is even, with the highest rate that has
 * this loss.
 */
QString carriedCell(const SurveySize& size)
{
    if (!size.evenLoss)
        return rateCell(size.withoutLoss);
    return rateCell(size.evenLoss->upTo) +
           QStringLiteral(" <small>%1</small>").arg(isolated(size.evenLoss->text));
}

QString tiles(const LinkSurvey& survey)
{
    QString text =
        QStringLiteral("<section><p class=\"quiet\">Highest rate without loss by payload, or up to "
                       "which the loss is the same, and its share of what the line has room for</p>"
                       "<dl class=\"tiles\">");
    for (const SurveySize& size : survey.sizes)
        text += QStringLiteral("<div><dt>%1</dt><dd>%2</dd></div>")
                    .arg(sizeText(size), carriedCell(size));
    return text + QStringLiteral("</dl></section>\n");
}

QString stateSection(const LinkSurvey& survey)
{
    QString hindered = hinderedText(survey);
    if (!hindered.isEmpty())
        hindered =
            QStringLiteral("<section class=\"warning\"><b>Perhaps too low.</b> %1</section>\n")
                .arg(html(hindered));
    if (survey.complete && survey.reasons.isEmpty())
        return hindered;
    QString reasons;
    for (const QString& reason : survey.reasons)
        reasons += QStringLiteral("<li>") + isolated(reason) + QStringLiteral("</li>");
    return QStringLiteral("<section class=\"warning\"><b>%1</b><ul>%2</ul></section>\n")
               .arg(survey.complete ? QStringLiteral("Not every size has a rate without loss.")
                                    : QStringLiteral("Incomplete: the survey ended early."),
                    reasons) +
           hindered;
}

QString rateTable(const LinkSurvey& survey)
{
    HtmlTable table(QStringLiteral("Rates found"),
                    {QStringLiteral("Payload"), QStringLiteral("The line has room for"),
                     QStringLiteral("Without loss"), html(partialLossText(survey))});
    for (const SurveySize& size : survey.sizes)
        table.addRow(sizeText(size), {QStringLiteral("%1/s").arg(numberText(size.capacity, 1)),
                                      carriedCell(size), rateCell(size.withPartialLoss)});
    return table.markup();
}

QString loadTable(const LinkSurvey& survey)
{
    HtmlTable table(QStringLiteral("Round trips below the rate found"),
                    {QStringLiteral("Payload"), QStringLiteral("Share of the rate"),
                     QStringLiteral("Rate"), QStringLiteral("p50"), QStringLiteral("p99"),
                     QStringLiteral("Lost")});
    for (const SurveySize& size : survey.sizes) {
        for (const SurveyLoad& load : size.loads)
            table.addRow(sizeText(size),
                         {QStringLiteral("%1 %").arg(load.percent),
                          QStringLiteral("%1/s").arg(countText(load.packetsPerSecond)),
                          latencyCell(load.p50Us), latencyCell(load.p99Us), countText(load.lost)});
    }
    return table.markup();
}

QString figure(const QString& id, const QString& title, const QString& description,
               const QString& table)
{
    return QStringLiteral("<section class=\"figure\"><h3>%1</h3><p class=\"quiet\">%2</p>")
               .arg(title, html(description)) +
           chartPlace(id, title, description) +
           QStringLiteral("<details open><summary>The figures: %1</summary>").arg(title) + table +
           QStringLiteral("</details></section>\n");
}

QString trialsSection(const LinkSurvey& survey)
{
    HtmlTable table(QStringLiteral("Trials"),
                    {QStringLiteral("Payload"), QStringLiteral("Made for"), QStringLiteral("Rate"),
                     QStringLiteral("Sent"), QStringLiteral("Lost"), QStringLiteral("Left out"),
                     QStringLiteral("p50"), QStringLiteral("p99")});
    for (const SurveySize& size : survey.sizes) {
        for (const SurveyTrial& trial : size.trials)
            table.addRow(
                sizeText(size),
                {isolated(trial.purpose),
                 QStringLiteral("%1/s").arg(countText(trial.packetsPerSecond)),
                 countText(trial.sent),
                 countText(trial.lost + trial.sendFailures) +
                     (trial.cutShort ? QStringLiteral(" <small>cut short</small>") : QString()),
                 countText(trial.unsent), latencyCell(trial.p50Us), latencyCell(trial.p99Us)});
    }
    return QStringLiteral("<section><h2>All trials, in their order</h2>") + table.markup() +
           QStringLiteral("</section>\n");
}

QString testedTable(const LinkSurvey& survey)
{
    HtmlTable table(QStringLiteral("What was tested"),
                    {QStringLiteral("Figure"), QStringLiteral("Value")}, false);
    const auto add = [&table](const QString& name, const QString& text) {
        table.addRow(html(name), {text.isEmpty() ? latencyCell({}) : isolated(text)});
    };
    add(QStringLiteral("Port"),
        QStringLiteral("%1 at %2 bits/s").arg(survey.port, QString::number(survey.baudRate)));
    add(QStringLiteral("Adapter"), adapterText(survey));
    for (auto tag = survey.tags.begin(); tag != survey.tags.end(); ++tag)
        add(QStringLiteral("Tag ") + tag.key(), tag.value());
    add(QStringLiteral("Computer"), hostText(survey));
    add(QStringLiteral("Settings"),
        QStringLiteral("trials of %1 s; time-out %2 ms; module's screen left alone")
            .arg(numberText(survey.trialSeconds, 1))
            .arg(survey.timeoutMs));
    add(QStringLiteral("Start"), timeText(survey.start));
    add(QStringLiteral("End"), timeText(survey.end));
    add(QStringLiteral("Report"),
        QStringLiteral("%1, by packetbrask-survey %2").arg(survey.path, survey.version));
    return QStringLiteral("<section><h2>What was tested</h2>") + table.markup() +
           QStringLiteral("</section>\n");
}

} // namespace

QString surveyPage(const LinkSurvey& survey)
{
    const QString label = surveyLabel(survey);
    const QString body =
        pageHeading(QStringLiteral("Link survey ") + isolated(label),
                    QStringLiteral("%1 at %2 bits/s, %3")
                        .arg(isolated(survey.port), QString::number(survey.baudRate),
                             timeText(survey.start))) +
        stateSection(survey) + tiles(survey) +
        QStringLiteral("<section><h2>Charts</h2><div class=\"charts\">") +
        figure(QStringLiteral("surveyRate"), QStringLiteral("What the link carries"),
               QStringLiteral("The highest rates found, and what the line has room for in each "
                              "direction at 11 bits a byte. Rates are whole numbers."),
               rateTable(survey)) +
        figure(
            QStringLiteral("surveyLatency"), QStringLiteral("Round trips by load"),
            QStringLiteral("At shares of the rate found without loss, or of that up to which loss "
                           "does not depend on the rate: the middle one, and what 1 in 100 took "
                           "longer than."),
            loadTable(survey)) +
        QStringLiteral("</div></section>\n") + trialsSection(survey) + testedTable(survey);
    return htmlDocument(label + QStringLiteral(" – PacketBrask"), body, surveyData(survey));
}
