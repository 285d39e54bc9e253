#include "measure/jsonValues.h"

#include <QDateTime>

#include <cmath>

double jsonValues::rounded(double value, int decimals)
{
    const double scale = std::pow(10, decimals);
    return std::round(value * scale) / scale;
}

QJsonValue jsonValues::rounded(const std::optional<double>& value, int decimals)
{
    return value ? QJsonValue(rounded(*value, decimals)) : QJsonValue();
}

QJsonValue jsonValues::count(quint64 value)
{
    return static_cast<qint64>(value);
}

QJsonValue jsonValues::orNull(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QString jsonValues::isoTime(const QDateTime& time)
{
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODateWithMs);
}
