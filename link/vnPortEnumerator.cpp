#include "link/vnPortEnumerator.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <memory>

#include <libudev.h>
#include <sys/stat.h>

namespace {

constexpr std::array<const char*, 6> serialPrefixes{"tty.",   "ttyS",   "ttys",
                                                    "ttyUSB", "ttyACM", "ttyVN"};

using UdevContext = std::unique_ptr<udev, decltype(&udev_unref)>;
using UdevDevice = std::unique_ptr<udev_device, decltype(&udev_device_unref)>;

bool isSerialName(const QString& fileName)
{
    return std::any_of(serialPrefixes.begin(), serialPrefixes.end(), [&](const char* prefix) {
        return fileName.startsWith(QLatin1String(prefix), Qt::CaseSensitive);
    });
}

/** Returns the model of the node at `path`; null when the device database has none. */
QString modelName(const QString& path)
{
    struct stat node = {};
    if (::stat(path.toLatin1().constData(), &node) != 0)
        return {};
    const UdevContext context(udev_new(), udev_unref);
    if (!context)
        return {};
    const char type = (node.st_mode & S_IFMT) == S_IFBLK ? 'b' : 'c';
    const UdevDevice device(udev_device_new_from_devnum(context.get(), type, node.st_rdev),
                            udev_device_unref);
    if (!device)
        return {};
    udev_list_entry* const properties = udev_device_get_properties_list_entry(device.get());
    udev_list_entry* model = udev_list_entry_get_by_name(properties, "ID_MODEL");
    if (model == nullptr)
        model = udev_list_entry_get_by_name(properties, "ID_MODEL_FROM_DATABASE");
    return model == nullptr ? QString() : QString::fromUtf8(udev_list_entry_get_value(model));
}

} // namespace

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
QList<portInfo> vnPortEnumerator::enumeratePorts()
{
    QDir directory(QDir::rootPath());
    if (!directory.cd(QStringLiteral("dev")))
        return {};
    const QFileInfoList entries = directory.entryInfoList(
        QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Time);

    QList<portInfo> ports;
    for (const QFileInfo& entry : entries) {
        const QString fileName = entry.fileName();
        if (!isSerialName(fileName))
            continue;
        const QString path = entry.absoluteFilePath();
        const QString model = modelName(path);
        const QString description =
            model.isNull() ? fileName : QStringLiteral("%2 = %1").arg(model, fileName);
        ports.append({path, description, description, true});
    }
    return ports;
}
