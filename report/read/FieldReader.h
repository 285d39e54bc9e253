#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <limits>
#include <optional>
#include <vector>

/**
 * Reads members from one JSON object. The first member that is missing or has another type is
 * reported in `fault`, which all readers of a document share. Values read after an error are
 * arbitrary.
 */
class FieldReader
{
public:
    /**
     * `name` is put before the members' names in complaints. `sharedFault` must outlive this
     * object.
     */
    FieldReader(QJsonObject from, QString name, QString& sharedFault);

    const QJsonObject& all() const { return members; }
    FieldReader object(const char* name);
    /** Like object(), but returns no value for null. */
    std::optional<FieldReader> objectOrNull(const char* name);
    std::vector<QJsonValue> array(const char* name);
    QString text(const char* name);
    /** Like text(), but returns an empty text for null. */
    QString textOrNull(const char* name);
    bool flag(const char* name);
    QDateTime time(const char* name);
    /** A whole number from `lowest`, which is not negative, to `highest`. */
    int integer(const char* name, int lowest = 0, int highest = std::numeric_limits<int>::max());
    /** A whole number of at most 10^12. */
    qint64 count(const char* name);
    /** Like count(), but returns no value for null. */
    std::optional<qint64> countOrNull(const char* name);
    /** Reads a number of 0 or more. */
    double number(const char* name);
    /** Like number(), but returns no value for null. */
    std::optional<double> figure(const char* name);
    /** Complains that the member `name` is not `wanted`. */
    void refuse(const char* name, const char* wanted);

private:
    QJsonValue value(const char* name) const { return members.value(QLatin1String(name)); }

    QJsonObject members;
    QString prefix;
    QString& fault;
};
