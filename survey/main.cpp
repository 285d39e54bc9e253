#include "drive/runSession.h"
#include "measure/SurveyFormat.h"
#include "survey/SurveySession.h"

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
    return runSession<SurveySession>(program, options);
}
