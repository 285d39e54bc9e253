#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <limits>
#include <optional>
#include <vector>

/**
 * Takes members out of one JSON object. The first that is missing or not of the kind asked for is
 * told in `fault`, which all readers of a document share; from then on values are made up.
 */
class FieldReader
{
public:
    /** `name` is put in front of the members' names in complaints; `fault` must outlive this. */
    FieldReader(QJsonObject from, QString name, QString& sharedFault);

    const QJsonObject& all() const { return members; }
    FieldReader object(const char* name);
    /** None for null. */
    std::optional<FieldReader> objectOrNull(const char* name);
    std::vector<QJsonValue> array(const char* name);
    QString text(const char* name);
    /** Empty for null. */
    QString textOrNull(const char* name);
    bool flag(const char* name);
    QDateTime time(const char* name);
    /** A whole number from `lowest`, which is not negative, to `highest`. */
    int integer(const char* name, int lowest = 0, int highest = std::numeric_limits<int>::max());
    /** A whole number of at most 10^12. */
    qint64 count(const char* name);
    /** The same; none for null. */
    std::optional<qint64> countOrNull(const char* name);
    /** 0 or more. */
    double number(const char* name);
    /** The same; none for null. */
    std::optional<double> figure(const char* name);
    /** Complains of the member `name`. */
    void refuse(const char* name, const char* wanted);

private:
    QJsonValue value(const char* name) const { return members.value(QLatin1String(name)); }

    QJsonObject members;
    QString prefix;
    QString& fault;
};
