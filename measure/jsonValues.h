#pragma once

#include <QJsonValue>

#include <optional>

class QDateTime;

/** JSON values in the form common to all reports. */
namespace jsonValues {

/** Rounds `value` to `decimals` places, so that figures are not finer than they are measured. */
double rounded(double value, int decimals);
/** Like rounded(double, int); null without a value. */
QJsonValue rounded(const std::optional<double>& value, int decimals);

QJsonValue count(quint64 value);

/** Null without a value. */
template <typename Value> QJsonValue orNull(const std::optional<Value>& value)
{
    return value ? QJsonValue(*value) : QJsonValue();
}

/** Null for an empty text. */
QJsonValue orNull(const QString& text);

/** Formats date and time to the millisecond, with the offset to UTC. */
QString isoTime(const QDateTime& time);

} // namespace jsonValues
