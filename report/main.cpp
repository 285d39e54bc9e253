#include "report/page.h"
#include "report/readRun.h"
#include "report/reportOptions.h"
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

int report(const ReportOptions& options)
{
    std::vector<Run> runs;
    for (const QString& file : options.files) {
        ReadResult result = readRun(file);
        if (result.run)
            runs.push_back(std::move(*result.run));
        else
            complain(QStringLiteral("%1: %2").arg(file, result.fault));
    }
    if (runs.empty())
        return WrongUsage;
    const bool complete = runs.size() == static_cast<std::size_t>(options.files.size());
    QString fault;
    if (!options.htmlPath.isEmpty())
        fault = writePage(options.htmlPath, htmlPage(runs, options.by).toUtf8());
    if (fault.isEmpty() && options.onTerminal)
        fault = print(textReport(std::move(runs), options.by).toLocal8Bit());
    if (!fault.isEmpty()) {
        complain(fault);
        return OutputFailed;
    }
    return complete ? AllRead : SomeUnread;
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
