#include "report/weigh/figureText.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace {

constexpr char16_t narrowSpace = 0x202f;

QString threeDigits(double value)
{
    if (value == 0)
        return QStringLiteral("0");
    const int decimals = 2 - static_cast<int>(std::floor(std::log10(value)));
    return QString::number(value, 'f', std::clamp(decimals, 0, 6));
}

} // namespace

QString countText(qint64 count)
{
    QString text = QString::number(count);
    for (qsizetype at = text.size() - 3; at > 0; at -= 3)
        text.insert(at, QChar(narrowSpace));
    return text;
}

QString latencyText(const Figure& us)
{
    if (!us)
        return QStringLiteral("–");
    if (*us < 999.5)
        return QStringLiteral("%1 µs").arg(threeDigits(*us));
    if (*us < 999.5e3)
        return QStringLiteral("%1 ms").arg(threeDigits(*us / 1e3));
    return QStringLiteral("%1 s").arg(threeDigits(*us / 1e6));
}

QString percentText(const Figure& percent)
{
    return percent ? QStringLiteral("%1 %").arg(threeDigits(*percent)) : QStringLiteral("–");
}

QString numberText(double value, int decimals)
{
    QString text = QString::number(value, 'f', decimals);
    while (text.contains(u'.') && (text.endsWith(u'0') || text.endsWith(u'.')))
        text.chop(1);
    return text;
}

QString verdictText(RunVerdict verdict)
{
    switch (verdict) {
    case RunVerdict::Passed:
        return QStringLiteral("Passed");
    case RunVerdict::LineLost:
        return QStringLiteral("Line lost");
    case RunVerdict::OutputFailed:
        return QStringLiteral("Output failed");
    case RunVerdict::Disturbed:
        return QStringLiteral("Disturbed");
    case RunVerdict::Failed:
        break;
    }
    return QStringLiteral("Failed");
}

QString timeText(const QDateTime& time)
{
    return time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString adapterText(const TestPlace& place)
{
    const std::optional<Adapter>& adapter = place.adapter;
    if (!adapter)
        return {};
    QStringList parts;
    if (!adapter->product.isEmpty())
        parts += adapter->product;
    if (!adapter->vendorId.isEmpty())
        parts += adapter->vendorId + u':' + adapter->productId;
    if (!adapter->serialNumber.isEmpty())
        parts += QStringLiteral("serial number %1").arg(adapter->serialNumber);
    if (!adapter->driver.isEmpty())
        parts += QStringLiteral("driver %1").arg(adapter->driver);
    if (adapter->latencyTimerMs)
        parts += QStringLiteral("latency timer %1 ms").arg(numberText(*adapter->latencyTimerMs, 0));
    return parts.join(QStringLiteral(", "));
}

QString hostText(const TestPlace& place)
{
    QStringList parts{place.hostName, place.kernel, place.machine};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}
