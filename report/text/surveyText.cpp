#include "report/text/surveyText.h"

#include "report/text/TextTable.h"
#include "report/weigh/figureText.h"
#include "report/weigh/surveyWords.h"

namespace {

QString rateText(const std::optional<SurveyRate>& rate)
{
    return rate ? QStringLiteral("%1/s (%2)")
                      .arg(countText(rate->packetsPerSecond), percentText(rate->capacityPercent))
                : latencyText({});
}

} // namespace

QString surveyText(const LinkSurvey& survey)
{
    QString text = QStringLiteral("Link survey %1%2\n")
                       .arg(printable(surveyLabel(survey)),
                            survey.complete ? QString() : QStringLiteral(": incomplete"));
    for (const QString& reason : survey.reasons)
        text += QStringLiteral("  %1\n").arg(printable(reason));
    text +=
        QStringLiteral("%1 at %2 bits/s, %3\n")
            .arg(printable(survey.port), QString::number(survey.baudRate), timeText(survey.start));
    if (!hinderedText(survey).isEmpty())
        text += hinderedText(survey) + u'\n';
    for (const SurveySize& size : survey.sizes) {
        if (const auto& loss = size.evenLoss)
            text += QStringLiteral("%1 bytes: %2; 100 % is %3\n")
                        .arg(QString::number(size.sizeBytes), printable(loss->text),
                             rateText(loss->upTo));
    }
    TextTable rates;
    rates.addRow({QStringLiteral("Payload"), QStringLiteral("room for"),
                  QStringLiteral("without loss"), partialLossText(survey)});
    TextTable loads;
    loads.addRow({QStringLiteral("Payload"), QStringLiteral("share"), QStringLiteral("rate"),
                  QStringLiteral("p50"), QStringLiteral("p99"), QStringLiteral("lost")});
    for (const SurveySize& size : survey.sizes) {
        const QString name = QStringLiteral("%1 bytes").arg(size.sizeBytes);
        rates.addRow({name, QStringLiteral("%1/s").arg(numberText(size.capacity, 1)),
                      rateText(size.withoutLoss), rateText(size.withPartialLoss)});
        for (const SurveyLoad& load : size.loads)
            loads.addRow({name, QStringLiteral("%1 %").arg(load.percent),
                          QStringLiteral("%1/s").arg(countText(load.packetsPerSecond)),
                          latencyText(load.p50Us), latencyText(load.p99Us), countText(load.lost)});
    }
    return text + rates.text() + loads.text();
}
