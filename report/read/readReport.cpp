#include "report/read/readReport.h"

#include "report/read/readRun.h"
#include "report/read/readSurvey.h"

#include <QFile>
#include <QJsonDocument>

namespace {

/** An hour's report has less than a megabyte. */
constexpr qint64 mostBytes = 64LL << 20;

/** Why `report` cannot be read; empty when its program and its format are known. */
QString formatFault(const QJsonObject& report)
{
    const QString program = report.value(u"program").toString();
    const bool isSurvey = report.value(u"kind") == QStringLiteral("survey");
    if (program != u"packetbrask-run" && !(isSurvey && program == u"packetbrask-survey"))
        return QStringLiteral("it is no report of packetbrask-run or packetbrask-survey");
    const int known = isSurvey ? surveyFormat : runFormat;
    const QJsonValue format = report.value(u"format");
    if (format.isUndefined() && !isSurvey)
        return QStringLiteral("it is a report of format 1, made by an older packetbrask-run; only "
                              "format %1 can be read")
            .arg(known);
    if (format.toDouble() == known)
        return {};
    return QStringLiteral("its format %1 is not known, only format %2 can be read")
        .arg(format.toVariant().toString())
        .arg(known);
}

} // namespace

ReadResult parseReport(const QByteArray& json, const QString& path)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (document.isNull())
        return {.fault = QStringLiteral("it is no JSON, or only a part of it: %1 at byte %2")
                             .arg(error.errorString())
                             .arg(error.offset)};
    const QJsonObject report = document.object();
    ReadResult result{.fault = formatFault(report)};
    if (!result.fault.isEmpty())
        return result;
    if (report.value(u"kind") == QStringLiteral("survey")) {
        result.survey = readSurvey(report, result.fault);
        result.survey->path = path;
    } else {
        result.run = readRun(report, result.fault);
        result.run->path = path;
    }
    if (!result.fault.isEmpty())
        return {.fault = result.fault};
    return result;
}

ReadResult readReport(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {.fault = file.errorString()};
    const QByteArray bytes = file.read(mostBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return {.fault = file.errorString()};
    if (bytes.size() > mostBytes)
        return {.fault = QStringLiteral("it is too large for a report")};
    return parseReport(bytes, path);
}
