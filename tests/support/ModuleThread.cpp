#include "tests/support/ModuleThread.h"

namespace {

template <typename Call> void inThreadOf(SimulatedModule* module, Call call)
{
    QMetaObject::invokeMethod(module, call, Qt::BlockingQueuedConnection);
}

} // namespace

ModuleThread::ModuleThread(const ModuleFaults& faults) : module(new SimulatedModule(faults))
{
    module->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, module, &QObject::deleteLater);
    thread.start();
    inThreadOf(module, [this] {
        if (!module->open())
            qFatal("%s", qPrintable(module->errorText()));
        linePath = module->linePath();
    });
}

ModuleThread::~ModuleThread()
{
    thread.quit();
    thread.wait();
}

ModuleCounts ModuleThread::counts()
{
    ModuleCounts now;
    inThreadOf(module, [&] { now = module->counts(); });
    return now;
}

void ModuleThread::unplug()
{
    inThreadOf(module, [this] { module->unplug(); });
}

void ModuleThread::stall()
{
    inThreadOf(module, [this] { module->stall(); });
}
