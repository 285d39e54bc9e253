#include "survey/surveyReasons.h"

#include <cmath>

namespace {

/** Returns the number of pings per lost ping. */
QString oneInText(const LossCount& count)
{
    const double oneIn = static_cast<double>(count.tried) / static_cast<double>(count.lost);
    const double scale = std::pow(10, std::floor(std::log10(oneIn)) - 1);
    return QString::number(std::round(oneIn / scale) * scale, 'f', scale < 1 ? 1 : 0);
}

QString sizeReason(const SizeResult& size, int timeoutMs)
{
    // When no rate passed, the search ended at the lowest rate.
    if (size.lossless == 0 && size.trials.back().lateUs)
        return lateText(*size.trials.back().lateUs, timeoutMs);
    if (size.comparison.even)
        return QStringLiteral("it ") + evenLossText(*size.comparison.even);
    if (size.lossless == 0)
        return QStringLiteral("not even 1 packet a second went without loss");
    return {};
}

} // namespace

QStringList sizeReasons(const std::vector<SizeResult>& sizes, int timeoutMs)
{
    QStringList reasons;
    for (const SizeResult& size : sizes) {
        const QString reason = sizeReason(size, timeoutMs);
        if (!reason.isEmpty())
            reasons += QStringLiteral("with %1 bytes %2").arg(size.sizeBytes).arg(reason);
    }
    return reasons;
}

QString evenLossText(const EvenLoss& loss)
{
    const QString text = QStringLiteral("loses 1 in %1 at every rate").arg(oneInText(loss.count));
    return loss.everyRate ? text : text + QStringLiteral(" up to %1/s").arg(loss.packetsPerSecond);
}

QString lateText(double lateUs, int timeoutMs)
{
    return QStringLiteral("echoes came after %1 ms; the time-out is %2")
        .arg(std::floor(lateUs / 1000))
        .arg(timeoutMs);
}

QString silentText(const Trial& trial, const SurveyMoment& lastEcho)
{
    return QStringLiteral("the module fell silent: none of %1 packets came back at %2/s, and the "
                          "last echo came %3 s after the start, at %4")
        .arg(trial.sent)
        .arg(trial.packetsPerSecond)
        .arg(lastEcho.seconds, 0, 'f', 1)
        .arg(lastEcho.time.toString(QStringLiteral("HH:mm:ss")));
}
