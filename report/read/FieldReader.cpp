#include "report/read/FieldReader.h"

#include <QJsonArray>

#include <cmath>
#include <utility>

FieldReader::FieldReader(QJsonObject from, QString name, QString& sharedFault)
    : members(std::move(from)), prefix(std::move(name)), fault(sharedFault)
{
}

void FieldReader::refuse(const char* name, const char* wanted)
{
    if (fault.isEmpty())
        fault = QStringLiteral("its %1%2 is not %3")
                    .arg(prefix, QLatin1String(name), QLatin1String(wanted));
}

FieldReader FieldReader::object(const char* name)
{
    if (!value(name).isObject())
        refuse(name, "an object");
    return {value(name).toObject(), prefix + QLatin1String(name) + u'.', fault};
}

std::optional<FieldReader> FieldReader::objectOrNull(const char* name)
{
    if (value(name).isNull())
        return std::nullopt;
    return object(name);
}

std::vector<QJsonValue> FieldReader::array(const char* name)
{
    if (!value(name).isArray())
        refuse(name, "an array");
    const QJsonArray values = value(name).toArray();
    return {values.begin(), values.end()};
}

QString FieldReader::text(const char* name)
{
    if (!value(name).isString())
        refuse(name, "a text");
    return value(name).toString();
}

QString FieldReader::textOrNull(const char* name)
{
    return value(name).isNull() ? QString() : text(name);
}

bool FieldReader::flag(const char* name)
{
    if (!value(name).isBool())
        refuse(name, "true or false");
    return value(name).toBool();
}

QDateTime FieldReader::time(const char* name)
{
    QDateTime time = QDateTime::fromString(text(name), Qt::ISODateWithMs);
    if (!time.isValid())
        refuse(name, "a date and time");
    return time;
}

double FieldReader::number(const char* name)
{
    const double number = value(name).toDouble(-1);
    if (number < 0)
        refuse(name, "a number of 0 or more");
    return number;
}

std::optional<double> FieldReader::figure(const char* name)
{
    if (value(name).isNull())
        return std::nullopt;
    return number(name);
}

qint64 FieldReader::count(const char* name)
{
    // With this limit, the sum of all counts in a file is still an exact integer.
    constexpr double most = 1e12;
    const double number = value(name).toDouble(-1);
    if (number < 0 || number > most || number != std::floor(number)) {
        refuse(name, "a count");
        return 0;
    }
    return static_cast<qint64>(number);
}

std::optional<qint64> FieldReader::countOrNull(const char* name)
{
    if (value(name).isNull())
        return std::nullopt;
    return count(name);
}

int FieldReader::integer(const char* name, int lowest, int highest)
{
    const qint64 number = count(name);
    if (number < lowest || number > highest) {
        refuse(name, "in its range");
        return lowest;
    }
    return static_cast<int>(number);
}
