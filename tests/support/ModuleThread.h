#pragma once

#include "simulator/SimulatedModule.h"

#include <QThread>

/** A simulated module at work in a thread of its own, since the engine holds up the test's. */
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
    SimulatedModule* module; ///< deleted in its thread when that ends
    QString linePath;
};
