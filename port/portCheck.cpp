#include "port/portCheck.h"

#include "port/openFault.h"
#include "port/portAdapter.h"
#include "port/portUsers.h"

#include <libudev.h>

#include <memory>

#include <sys/stat.h>

namespace {

/** With a longer timer echoes wait in the adapter; no adapter can be set to a shorter one. */
constexpr int bestLatencyTimerMs = 1;
constexpr auto modemProgram = "ModemManager";

/** True when a udev rule tells ModemManager to ignore the port. */
bool isHiddenFromModemProgram(const QString& path)
{
    struct stat node = {};
    if (::stat(path.toLocal8Bit().constData(), &node) != 0)
        return false;
    const std::unique_ptr<udev, decltype(&udev_unref)> context(udev_new(), udev_unref);
    if (!context)
        return false;
    const std::unique_ptr<udev_device, decltype(&udev_device_unref)> port(
        udev_device_new_from_devnum(context.get(), 'c', node.st_rdev), udev_device_unref);
    for (udev_device* part = port.get(); part != nullptr; part = udev_device_get_parent(part)) {
        for (const char* property : {"ID_MM_DEVICE_IGNORE", "ID_MM_PORT_IGNORE"}) {
            if (qstrcmp(udev_device_get_property_value(part, property), "1") == 0)
                return true;
        }
    }
    return false;
}

QStringList proberFaults(const QString& path)
{
    QStringList names{QStringLiteral("brltty"), QStringLiteral("gpsd")};
    if (!isHiddenFromModemProgram(path))
        names += QLatin1String(modemProgram);
    QStringList faults;
    for (const PortUser& program : runningPrograms(names))
        faults +=
            QStringLiteral("%1 (process %2) is running, which may open the port and send to it")
                .arg(program.program, QString::number(program.processId));
    return faults;
}

QStringList adapterFaults(const PortAdapter& adapter)
{
    QStringList faults;
    if (adapter.latencyTimerMs.value_or(bestLatencyTimerMs) > bestLatencyTimerMs)
        faults +=
            QStringLiteral("the adapter holds received bytes back for up to %1 ms; to have it "
                           "%2 ms: echo %2 | sudo tee %3")
                .arg(QString::number(*adapter.latencyTimerMs), QString::number(bestLatencyTimerMs),
                     adapter.latencyTimerFile);
    if (adapter.suspends)
        faults +=
            QStringLiteral("the system may put the adapter to sleep; to prevent that: echo on "
                           "| sudo tee %1")
                .arg(adapter.suspendFile);
    return faults;
}

} // namespace

QStringList portFaults(const QString& path)
{
    QStringList faults;
    const QString fault = openFault(path);
    if (!fault.isEmpty())
        faults += fault;
    QList<PortUser> users = portOpeners(path);
    for (const PortUser& named : lockHolders(path))
        users.removeAll(named);
    if (!users.isEmpty())
        faults += inUseText(users);
    const std::optional<PortAdapter> adapter = portAdapter(path);
    if (adapter)
        faults += proberFaults(path) + adapterFaults(*adapter);
    return faults;
}
