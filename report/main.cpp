#include "report/TextTable.h"
#include "report/page.h"
#include "report/readReport.h"
#include "report/reportOptions.h"
#include "report/surveyPage.h"
#include "report/surveyText.h"
#include "report/textReport.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <csignal>
#include <cstdio>

namespace {

enum ExitStatus { AllRead = 0, SomeUnread = 1, WrongUsage = 2, OutputFailed = 3 };

void complain(const QString& message)
{
    const QString line = QStringLiteral("packetbrask-report: ") + printable(message) + u'\n';
    std::fputs(line.toLocal8Bit().constData(), stderr);
}

/** Why not, in one line; empty after success. */
QString print(const QByteArray& bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0)
        return {};
    return QStringLiteral("cannot write to standard output: %1").arg(qt_error_string(errno));
}

QString writePage(const QString& path, const QByteArray& page)
{
    if (path == u"-")
        return print(page);
    const QString fault = QStringLiteral("cannot write %1: %2");
    // A file that is replaced in one step would take the place of a device or a pipe.
    if (QFileInfo::exists(path) && !QFileInfo(path).isFile())
        return fault.arg(path, QStringLiteral("it is there and no regular file"));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(page) != page.size() || !file.commit())
        return fault.arg(path, file.errorString());
    return {};
}

struct Reports
{
    std::vector<Run> runs;
    std::optional<LinkSurvey> survey; ///< then there are no runs
    bool complete = true;             ///< all could be read
};

/** Complains of those that cannot be shown. */
Reports readReports(const QStringList& files)
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
            complain(QStringLiteral("%1: %2").arg(file, result.fault));
        reports.complete = reports.complete && result.fault.isEmpty();
    }
    return reports;
}

int report(const ReportOptions& options)
{
    Reports reports = readReports(options.files);
    if (reports.runs.empty() && !reports.survey)
        return WrongUsage;
    QString fault;
    if (!options.htmlPath.isEmpty())
        fault = writePage(options.htmlPath, (reports.survey ? surveyPage(*reports.survey)
                                                            : htmlPage(reports.runs, options.by))
                                                .toUtf8());
    if (fault.isEmpty() && options.onTerminal)
        fault = print((reports.survey ? surveyText(*reports.survey)
                                      : textReport(std::move(reports.runs), options.by))
                          .toLocal8Bit());
    if (!fault.isEmpty()) {
        complain(fault);
        return OutputFailed;
    }
    return reports.complete ? AllRead : SomeUnread;
}

} // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a reader that leaves is to be a write error like any other
    const QCoreApplication application(argc, argv);
    const ReportOptions options = parseReportOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case ReportOptions::Outcome::ShowText: {
        const QString fault = print(options.message.toLocal8Bit());
        if (!fault.isEmpty())
            complain(fault);
        return fault.isEmpty() ? AllRead : OutputFailed;
    }
    case ReportOptions::Outcome::Error:
        complain(options.message);
        return WrongUsage;
    case ReportOptions::Outcome::Report:
        break;
    }
    return report(options);
}
