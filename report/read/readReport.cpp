#include "report/read/readReport.h"

#include "measure/RunFormat.h"
#include "measure/SurveyFormat.h"
#include "report/read/readRun.h"
#include "report/read/readSurvey.h"

#include <QFile>
#include <QJsonDocument>

namespace {

/** The report of an hour's run has less than a megabyte. */
constexpr qint64 mostBytes = 64LL << 20;

bool isOfSurvey(const QJsonObject& report)
{
    return report.value(u"kind").toString() == QLatin1String(SurveyFormat::kind);
}

/** Returns why `report` cannot be read; empty when its program and its format are known. */
QString formatFault(const QJsonObject& report)
{
    const QString program = report.value(u"program").toString();
    const bool isSurvey = isOfSurvey(report);
    if (program != RunFormat::program() && !(isSurvey && program == SurveyFormat::program()))
        return QStringLiteral("it is no report of %1 or %2")
            .arg(RunFormat::program(), SurveyFormat::program());
    const int known = isSurvey ? SurveyFormat::number : RunFormat::number;
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
    if (isOfSurvey(report)) {
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
