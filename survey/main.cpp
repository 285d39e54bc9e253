#include "command/Program.h"
#include "command/SignalWatch.h"
#include "command/TerminalOutput.h"
#include "measure/SurveyFormat.h"
#include "survey/SurveySession.h"

#include <QCoreApplication>

namespace {

int run(Program& program, const SurveyOptions& options)
{
    TerminalOutput output(program.standardError(), options.quiet);
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
    Program::prepare();
    SignalWatch::block();
    const QCoreApplication application(argc, argv);
    Program program(SurveyFormat::program());
    const SurveyOptions options = parseSurveyOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case SurveyOptions::Outcome::ShowText:
        return program.print(options.message);
    case SurveyOptions::Outcome::Error:
        return program.refuse(options.message);
    case SurveyOptions::Outcome::Run:
        break;
    }
    return run(program, options);
}
