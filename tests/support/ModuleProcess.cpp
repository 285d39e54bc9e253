#include "tests/support/ModuleProcess.h"

#include <QFile>
#include <QJsonDocument>

#include <csignal>

#include <unistd.h>

ModuleProcess::ModuleProcess(const QStringList& options)
{
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Out of the way of signals that are meant for the group of the code under test.
    process.setChildProcessModifier([] { ::setsid(); });
    process.start(MODULE_PROGRAM,
                  QStringList{"--summary", directory.filePath("summary.json")} + options);
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(10000))
            qFatal("the simulated module did not start");
    }
    linePath = QString::fromLocal8Bit(process.readLine().trimmed());
}

ModuleProcess::~ModuleProcess()
{
    unplug();
}

void ModuleProcess::unplug()
{
    if (process.state() == QProcess::NotRunning)
        return;
    ::kill(static_cast<pid_t>(process.processId()), SIGCONT);
    process.terminate();
    process.waitForFinished();
}

void ModuleProcess::stall()
{
    ::kill(static_cast<pid_t>(process.processId()), SIGSTOP);
}

QJsonObject ModuleProcess::summary()
{
    unplug();
    QFile file(directory.filePath("summary.json"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

QString ModuleProcess::disagreement(qint64 sent, qint64 received, qint64 lost, const QString& log)
{
    const qint64 intact = counted("echoesIntact");
    const auto unaccounted = [&](const char* line, const char* count) {
        return std::max<qint64>(0, log.count(line) - counted(count));
    };
    const qint64 byChance = unaccounted("Device report", "reports") +
                            unaccounted("Device error response", "errorReplies") +
                            log.count("unexpected packet");
    const bool agrees = sent == counted("pingsReceived") && received + lost == sent &&
                        received <= intact && intact - received <= byChance;
    return agrees ? QString()
                  : QStringLiteral("sent %1, received %2, lost %3; the module received %4 and "
                                   "echoed %5; %6 frames by chance")
                        .arg(sent)
                        .arg(received)
                        .arg(lost)
                        .arg(counted("pingsReceived"))
                        .arg(intact)
                        .arg(byChance);
}
