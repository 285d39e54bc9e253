#include "survey/surveyTable.h"

#include "survey/surveyReasons.h"

namespace {

QString noFigure()
{
    return QStringLiteral("-");
}

QString rateCell(const std::optional<int>& rate)
{
    return rate ? QString::number(*rate) : noFigure();
}

QString shareCell(const SizeResult& size, const std::optional<int>& rate)
{
    return rate ? QString::number(size.sharePercent(*rate), 'f', 1) : noFigure();
}

QString msCell(const std::optional<double>& us)
{
    return us ? QString::number(*us / 1000, 'f', *us < 10'000 ? 2 : 1) : noFigure();
}

QString loadCell(const SizeResult& size, int percent)
{
    for (const SizeResult::Load& load : size.loads) {
        if (load.percent == percent)
            return msCell(load.trial.p50Us) + QStringLiteral(" / ") + msCell(load.trial.p99Us);
    }
    return noFigure();
}

QString line(const QStringList& cells)
{
    static constexpr std::array<int, 10> widths{7, 9, 9, 6, 9, 6, 16, 16, 16, 16};
    QString text;
    for (qsizetype i = 0; i < cells.size(); ++i)
        text += (i == 0 ? QString() : QStringLiteral("  ")) +
                cells[i].rightJustified(widths[static_cast<std::size_t>(i)]);
    return text + u'\n';
}

} // namespace

QString surveyTable(const SurveyOutcome& outcome, double partialLossPercent)
{
    QStringList first{QString(),
                      QStringLiteral("line has"),
                      QStringLiteral("without"),
                      QStringLiteral("of the"),
                      QStringLiteral("<= %1 %").arg(partialLossPercent),
                      QStringLiteral("of the")};
    QStringList second{QStringLiteral("payload"), QStringLiteral("room for"),
                       QStringLiteral("loss"),    QStringLiteral("line"),
                       QStringLiteral("loss"),    QStringLiteral("line")};
    QStringList units{QStringLiteral("bytes"), QStringLiteral("pings/s"), QStringLiteral("pings/s"),
                      QStringLiteral("%"),     QStringLiteral("pings/s"), QStringLiteral("%")};
    for (const int percent : loadPercents) {
        first += QStringLiteral("p50 / p99");
        second += QStringLiteral("at %1 %").arg(percent);
        units += QStringLiteral("ms");
    }
    QString text = line(first) + line(second) + line(units);
    for (const SizeResult& size : outcome.sizes) {
        QStringList cells{QString::number(size.sizeBytes), QString::number(size.capacity, 'f', 1),
                          rateCell(size.withoutLoss()),    shareCell(size, size.withoutLoss()),
                          rateCell(size.withPartialLoss),  shareCell(size, size.withPartialLoss)};
        for (const int percent : loadPercents)
            cells += loadCell(size, percent);
        text += line(cells);
    }
    for (const SizeResult& size : outcome.sizes) {
        if (const auto& even = size.comparison.even)
            text += QStringLiteral("%1 bytes: %2; 100 % is %3 pings/s\n")
                        .arg(QString::number(size.sizeBytes), evenLossText(*even),
                             QString::number(even->packetsPerSecond));
    }
    if (!outcome.isComplete())
        text += QStringLiteral("incomplete\n");
    return text;
}
