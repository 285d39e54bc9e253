#include "command/ExitStatus.h"
#include "command/SignalWatch.h"
#include "command/TerminalOutput.h"
#include "command/standardStreams.h"
#include "command/useUtf8.h"
#include "survey/SurveySession.h"

#include <QCoreApplication>

namespace {

QString programName()
{
    return QStringLiteral("packetbrask-survey");
}

int print(const QString& text)
{
    const QString fault = printOnStandardOutput(text.toLocal8Bit());
    if (fault.isEmpty())
        return static_cast<int>(ExitStatus::Passed);
    TerminalOutput(programName(), false).complain(fault);
    return static_cast<int>(ExitStatus::OutputFailed);
}

int run(const SurveyOptions& options)
{
    TerminalOutput output(programName(), options.quiet);
    const SignalWatch watch;
    SurveySession session(options, output);
    QObject::connect(&watch, &SignalWatch::endRequested, &session, &SurveySession::requestEnd);
    QObject::connect(&session, &SurveySession::finished, qApp, &QCoreApplication::exit);
    session.start();
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    prepareStandardStreams();
    useUtf8();
    SignalWatch::block();
    const QCoreApplication application(argc, argv);
    const SurveyOptions options = parseSurveyOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case SurveyOptions::Outcome::ShowText:
        return print(options.message);
    case SurveyOptions::Outcome::Error:
        TerminalOutput(programName(), false).complain(options.message);
        return static_cast<int>(ExitStatus::WrongUsage);
    case SurveyOptions::Outcome::Run:
        break;
    }
    return run(options);
}
