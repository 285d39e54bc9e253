#include "report/weigh/surveyWords.h"

#include "report/weigh/figureText.h"

#include <QFileInfo>

QString surveyLabel(const LinkSurvey& survey)
{
    QStringList parts;
    for (auto tag = survey.tags.begin(); tag != survey.tags.end(); ++tag)
        parts += tag.key() + u' ' + tag.value();
    return parts.isEmpty() ? QFileInfo(survey.path).completeBaseName()
                           : parts.join(QStringLiteral(", ")).left(60);
}

QString hinderedText(const LinkSurvey& survey)
{
    QStringList sizes;
    for (const SurveySize& size : survey.sizes) {
        if (size.hindered)
            sizes += QString::number(size.sizeBytes);
    }
    if (sizes.isEmpty())
        return {};
    return QStringLiteral(
               "With %1 bytes pings could not leave in time; when the computer was busy, "
               "survey again.")
        .arg(sizes.join(QStringLiteral(", ")));
}

QString partialLossText(const LinkSurvey& survey)
{
    return QStringLiteral("at most %1 % loss").arg(numberText(survey.partialLossPercent, 4));
}
