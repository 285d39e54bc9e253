#include "port/portAdapter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

QString attribute(const QString& device, const char* name)
{
    QFile file(device + u'/' + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

QString linkedName(const QString& device, const char* link)
{
    return QFileInfo(QFile::symLinkTarget(device + u'/' + QLatin1String(link))).fileName();
}

QString parentOf(const QString& device)
{
    return QFileInfo(device).path();
}

/**
 * Returns the first of `device` and its parent devices that has the attribute `name`; empty: none.
 */
QString ownerOf(QString device, const char* name)
{
    while (device.startsWith(u"/sys/devices/")) {
        if (QFile::exists(device + u'/' + QLatin1String(name)))
            return device;
        device = parentOf(device);
    }
    return {};
}

} // namespace

std::optional<PortAdapter> portAdapter(const QString& path)
{
    struct stat node = {};
    if (::stat(path.toLocal8Bit().constData(), &node) != 0 || !S_ISCHR(node.st_mode))
        return std::nullopt;
    QString device = QFileInfo(QStringLiteral("/sys/dev/char/%1:%2/device")
                                   .arg(major(node.st_rdev))
                                   .arg(minor(node.st_rdev)))
                         .canonicalFilePath();
    // For on-board UARTs the kernel puts "serial-base" devices between the port and the chip.
    while (linkedName(device, "subsystem") == u"serial-base")
        device = parentOf(device);
    if (device.isEmpty())
        return std::nullopt;

    PortAdapter adapter;
    adapter.driver = linkedName(device, "driver");
    bool hasTimer = false;
    const int timerMs = attribute(device, "latency_timer").toInt(&hasTimer);
    if (hasTimer) {
        adapter.latencyTimerMs = timerMs;
        adapter.latencyTimerFile = device + QStringLiteral("/latency_timer");
    }
    const QString usb = ownerOf(device, "idVendor");
    if (usb.isEmpty())
        return adapter;
    adapter.vendorId = attribute(usb, "idVendor");
    adapter.productId = attribute(usb, "idProduct");
    adapter.serialNumber = attribute(usb, "serial");
    adapter.product = attribute(usb, "product");
    adapter.suspends = attribute(usb, "power/control") == u"auto";
    adapter.suspendFile = usb + QStringLiteral("/power/control");
    return adapter;
}
