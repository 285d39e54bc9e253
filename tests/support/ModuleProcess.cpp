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
