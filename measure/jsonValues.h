#pragma once

#include <QJsonValue>

#include <optional>

class QDateTime;

/** Values as all reports have them. */
namespace jsonValues {

/** `value` with so many decimals, as figures are given no finer than they are measured. */
double rounded(double value, int decimals);
/** The same; null for nothing. */
QJsonValue rounded(const std::optional<double>& value, int decimals);

QJsonValue count(quint64 value);

/** Null for nothing. */
template <typename Value> QJsonValue orNull(const std::optional<Value>& value)
{
    return value ? QJsonValue(*value) : QJsonValue();
}

/** Null for an empty text. */
QJsonValue orNull(const QString& text);

/** Date and time of day to the millisecond, with the offset to UTC. */
QString isoTime(const QDateTime& time);

} // namespace jsonValues
