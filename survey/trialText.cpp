#include "survey/trialText.h"

#include "survey/surveyReasons.h"

#include <algorithm>
#include <cmath>

namespace {

QString secondsText(double seconds)
{
    return seconds < 90 ? QStringLiteral("%1 s").arg(std::ceil(seconds))
                        : QStringLiteral("%1 min").arg(std::ceil(seconds / 60));
}

} // namespace

QString trialText(const SizeResult& size)
{
    const Trial& trial = size.trials.back();
    QString text = QStringLiteral("%1 bytes, %2/s: %3 sent, %4 lost")
                       .arg(size.sizeBytes)
                       .arg(trial.packetsPerSecond)
                       .arg(trial.sent)
                       .arg(trial.lost + trial.failed);
    if (trial.unsent > 0)
        text += QStringLiteral(", %1 left out").arg(trial.unsent);
    if (trial.cutShort)
        text += QStringLiteral(", cut short");
    return text;
}

QString foundText(const SizeResult& size)
{
    const QString name = QStringLiteral("%1 bytes: ").arg(size.sizeBytes);
    if (size.comparison.even)
        return name + evenLossText(*size.comparison.even);
    return name + QStringLiteral("%1/s without loss, %2 % of what the line has room for")
                      .arg(*size.lossless)
                      .arg(size.sharePercent(*size.lossless), 0, 'f', 1);
}

QStringList nextPieces(const Survey::Next& next, qsizetype sizes, double secondsLeft)
{
    return {QStringLiteral("%1 bytes").arg(next.sizeBytes),
            QStringLiteral(" (%1 of %2)").arg(next.place).arg(sizes),
            QStringLiteral(" | %1/s").arg(next.packetsPerSecond),
            QStringLiteral(" | about %1 left").arg(secondsText(std::max(secondsLeft, 1.0)))};
}
