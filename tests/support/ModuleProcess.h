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
    /** One count of the summary. */
    qint64 counted(const QString& name) { return summary().value(name).toInteger(); }

    /**
     * Ends the module and judges figures of a run by its summary; empty when they agree. `log`
     * holds the engine's lines. Random bytes may by chance be a correct frame, which can swallow
     * the start of an echo; such a frame has a random command and so shows as a line that no answer
     * accounts for, and each of them excuses one echo. Do not let the module send error replies
     * twice.
     */
    QString disagreement(qint64 sent, qint64 received, qint64 lost, const QString& log);

private:
    QTemporaryDir directory;
    QProcess process;
    QString linePath;
};
