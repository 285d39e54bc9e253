#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/**
 * The simulated module's program, running with the options that packetbrask-module takes. A process
 * of its own, so that nothing but the line connects it with the code under test. One thread.
 */
class ModuleProcess
{
public:
    explicit ModuleProcess(const QStringList& options = {});
    ~ModuleProcess();
    ModuleProcess(const ModuleProcess&) = delete;
    ModuleProcess& operator=(const ModuleProcess&) = delete;

    QString path() const { return linePath; }
    /** Hangs the line up, as an adapter that is pulled out. */
    void unplug();
    /** Keeps the line open but reads and answers no more. */
    void stall();
    /** Ends the module; what it truly did, by the names of docs/simulator.md. */
    QJsonObject summary();

private:
    QTemporaryDir directory;
    QProcess process;
    QString linePath;
};
