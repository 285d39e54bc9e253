#pragma once

#include "simulator/SimulatedModule.h"

#include <QThread>

#include <functional>
#include <memory>
#include <semaphore>
#include <vector>

/** Carries out tasks of another thread in its own, one at a time. */
class TaskRunner : public QObject
{
    Q_OBJECT

public:
    /**
     * Runs `task` in this object's thread, which needs an event loop, and returns when it is done;
     * call it from one other thread. The hand-over goes through semaphores of our own, because the
     * thread sanitizer cannot see those inside Qt.
     */
    void run(const std::function<void()>& task);

private slots:
    void runTask();

private:
    const std::function<void()>* current = nullptr;
    std::binary_semaphore handedOver{0};
    std::binary_semaphore done{0};
};

/**
 * A simulated module at work in a thread of its own, for a program that talks to it and waits for
 * it. Use it from one thread; every call returns when the module has done what was asked.
 */
class ModuleThread
{
public:
    /** Opens the line; ends the program when the system has none to give. */
    explicit ModuleThread(const ModuleFaults& faults = {});
    /** Closes the line and ends the thread. */
    ~ModuleThread();
    ModuleThread(const ModuleThread&) = delete;
    ModuleThread& operator=(const ModuleThread&) = delete;

    /** Path of the line, to be opened by a tool. */
    QString path() const { return linePath; }
    ModuleCounts counts()
    {
        ModuleCounts now;
        runner.run([&] { now = module->counts(); });
        return now;
    }
    /**
     * The record of every ping that has arrived since the last call, by arrival; one whose answer
     * is not out yet is unanswered for good.
     */
    std::vector<LedgerEntry> takePings();
    /** See SimulatedModule::unplug() and stall(). */
    void unplug()
    {
        runner.run([this] { module->unplug(); });
    }
    void stall()
    {
        runner.run([this] { module->stall(); });
    }

private:
    QThread thread;
    TaskRunner runner;
    std::unique_ptr<SimulatedModule> module; ///< made and destroyed in the thread
    QString linePath;
    std::vector<LedgerEntry> pings; ///< touched in the thread only
};
