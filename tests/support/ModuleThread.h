#pragma once

#include "simulator/SimulatedModule.h"

#include <QThread>

#include <functional>
#include <semaphore>

/** Carries out tasks of another thread in its own. */
class TaskRunner : public QObject
{
    Q_OBJECT

public:
    /**
     * Runs `task` in this object's thread and returns when it is done. The hand-over goes through
     * semaphores of our own: a sanitizer does not see those inside Qt.
     */
    void run(const std::function<void()>& task);

private slots:
    void runTask();

private:
    const std::function<void()>* current = nullptr;
    std::binary_semaphore handedOver{0};
    std::binary_semaphore done{0};
};

/** A simulated module of this process, at work in a thread of its own. */
class ModuleThread
{
public:
    explicit ModuleThread(const ModuleFaults& faults = {});
    ~ModuleThread();
    ModuleThread(const ModuleThread&) = delete;
    ModuleThread& operator=(const ModuleThread&) = delete;

    QString path() const { return linePath; }
    ModuleCounts counts();
    void unplug();
    void stall();

private:
    QThread thread;
    TaskRunner runner;
    std::unique_ptr<SimulatedModule> module; ///< made and destroyed by the runner
    QString linePath;
};
