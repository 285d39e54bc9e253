#include "command/OutputFile.h"
#include "command/StandardError.h"
#include "command/standardStreams.h"
#include "command/useUtf8.h"
#include "report/html/page.h"
#include "report/html/surveyPage.h"
#include "report/read/readReport.h"
#include "report/reportOptions.h"
#include "report/text/TextTable.h"
#include "report/text/surveyText.h"
#include "report/text/textReport.h"

#include <QCoreApplication>

namespace {

enum ExitStatus { AllRead = 0, SomeUnread = 1, WrongUsage = 2, OutputFailed = 5 };

struct Reports
{
    std::vector<Run> runs;
    std::optional<LinkSurvey> survey; ///< then there are no runs
    bool complete = true;             ///< all could be read
};

void complain(StandardError& errors, const QString& message)
{
    errors.complain(printable(message));
}

/** Complains of those that cannot be shown. */
Reports readReports(const QStringList& files, StandardError& errors)
{
    Reports reports;
    for (const QString& file : files) {
        ReadResult result = readReport(file);
        if (result.survey && files.size() > 1)
            result = {.fault = QStringLiteral("it is a survey, which is shown by itself only")};
        if (result.run)
            reports.runs.push_back(std::move(*result.run));
        else if (result.survey)
            reports.survey = std::move(result.survey);
        else
            complain(errors, QStringLiteral("%1: %2").arg(file, result.fault));
        reports.complete = reports.complete && result.fault.isEmpty();
    }
    return reports;
}

int report(const ReportOptions& options, StandardError& errors)
{
    Reports reports = readReports(options.files, errors);
    if (reports.runs.empty() && !reports.survey)
        return WrongUsage;
    QString fault;
    if (!options.htmlPath.isEmpty())
        fault = writeOutput(
            QStringLiteral("the page"), options.htmlPath,
            (reports.survey ? surveyPage(*reports.survey) : htmlPage(reports.runs, options.by))
                .toUtf8());
    if (fault.isEmpty() && options.onTerminal)
        fault =
            printOnStandardOutput((reports.survey ? surveyText(*reports.survey)
                                                  : textReport(std::move(reports.runs), options.by))
                                      .toLocal8Bit());
    if (!fault.isEmpty()) {
        complain(errors, fault);
        return OutputFailed;
    }
    return reports.complete ? AllRead : SomeUnread;
}

} // namespace

int main(int argc, char** argv)
{
    prepareStandardStreams();
    useUtf8();
    const QCoreApplication application(argc, argv);
    StandardError errors(QStringLiteral("packetbrask-report"));
    const ReportOptions options = parseReportOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case ReportOptions::Outcome::ShowText: {
        const QString fault = printOnStandardOutput(options.message.toLocal8Bit());
        if (!fault.isEmpty())
            complain(errors, fault);
        return fault.isEmpty() ? AllRead : OutputFailed;
    }
    case ReportOptions::Outcome::Error:
        complain(errors, options.message);
        return WrongUsage;
    case ReportOptions::Outcome::Report:
        break;
    }
    return report(options, errors);
}
