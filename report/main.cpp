#include "command/OutputFile.h"
#include "command/Program.h"
#include "report/html/page.h"
#include "report/html/surveyPage.h"
#include "report/read/readReport.h"
#include "report/reportOptions.h"
#include "report/text/TextTable.h"
#include "report/text/surveyText.h"
#include "report/text/textReport.h"
#include "report/weigh/batch.h"

#include <QCoreApplication>

namespace {

struct Reports
{
    std::vector<Run> runs;
    std::optional<LinkSurvey> survey; ///< if it has a value, there are no runs
    bool complete = true;             ///< all reports could be read
};

void complain(Program& program, const QString& message)
{
    program.complain(printable(message));
}

/** Reads the reports and complains about those that cannot be shown. */
Reports readReports(const QStringList& files, Program& program)
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
            complain(program, QStringLiteral("%1: %2").arg(file, result.fault));
        reports.complete = reports.complete && result.fault.isEmpty();
    }
    return reports;
}

QByteArray page(const Reports& reports, const QString& by)
{
    return (reports.survey ? surveyPage(*reports.survey) : htmlPage(reports.runs, by)).toUtf8();
}

QString text(const Reports& reports, const QString& by)
{
    return reports.survey ? surveyText(*reports.survey) : textReport(reports.runs, by);
}

ExitStatus report(const ReportOptions& options, Program& program)
{
    Reports reports = readReports(options.files, program);
    if (reports.runs.empty() && !reports.survey)
        return ExitStatus::WrongUsage;
    arrangeRuns(reports.runs, options.by);
    if (!options.htmlPath.isEmpty()) {
        const QString fault =
            writeOutput(QStringLiteral("the page"), options.htmlPath, page(reports, options.by));
        if (!fault.isEmpty()) {
            complain(program, fault);
            return ExitStatus::OutputFailed;
        }
    }
    if (options.onTerminal && program.print(text(reports, options.by)) != 0)
        return ExitStatus::OutputFailed;
    return reports.complete ? ExitStatus::Passed : ExitStatus::Failed;
}

} // namespace

int main(int argc, char** argv)
{
    Program::prepare();
    const QCoreApplication application(argc, argv);
    Program program(QStringLiteral("packetbrask-report"));
    const ReportOptions options = parseReportOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case ReportOptions::Outcome::ShowText:
        return program.print(options.message);
    case ReportOptions::Outcome::Error:
        return program.refuse(printable(options.message));
    case ReportOptions::Outcome::Report:
        break;
    }
    return static_cast<int>(report(options, program));
}
