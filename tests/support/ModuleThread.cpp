#include "tests/support/ModuleThread.h"

#include <algorithm>

void TaskRunner::run(const std::function<void()>& task)
{
    current = &task;
    handedOver.release();
    QMetaObject::invokeMethod(this, "runTask", Qt::QueuedConnection);
    done.acquire();
}

void TaskRunner::runTask()
{
    handedOver.acquire();
    (*current)();
    done.release();
}

ModuleThread::ModuleThread(const ModuleFaults& faults)
{
    runner.moveToThread(&thread);
    thread.start();
    runner.run([&] {
        module = std::make_unique<SimulatedModule>(faults);
        module->keepLedger([this](const LedgerEntry& ping) { pings.push_back(ping); });
        if (!module->open())
            qFatal("%s", qPrintable(module->errorText()));
        linePath = module->linePath();
    });
}

ModuleThread::~ModuleThread()
{
    runner.run([this] { module.reset(); });
    thread.quit();
    thread.wait();
}

std::vector<LedgerEntry> ModuleThread::takePings()
{
    std::vector<LedgerEntry> taken;
    runner.run([&] {
        module->closeLedger();
        taken.swap(pings);
    });
    std::sort(taken.begin(), taken.end(),
              [](const LedgerEntry& a, const LedgerEntry& b) { return a.arrival < b.arrival; });
    return taken;
}

#include "moc_ModuleThread.cpp"
