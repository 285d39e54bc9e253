#include "port/openFault.h"

#include "port/portUsers.h"

#include <cerrno>

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace {

QString owningGroup(const QByteArray& path)
{
    struct stat node = {};
    if (::stat(path.constData(), &node) != 0)
        return {};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread of this program looks up a group
    const group* entry = ::getgrgid(node.st_gid);
    return entry != nullptr ? QString::fromLocal8Bit(entry->gr_name) : QString::number(node.st_gid);
}

QString settingsFault(int descriptor)
{
    termios line = {};
    if (tcgetattr(descriptor, &line) == 0 && tcsetattr(descriptor, TCSANOW, &line) == 0)
        return {};
    return QStringLiteral("no usable serial line: ") + qt_error_string(errno);
}

} // namespace

QString openFault(const QString& path)
{
    const QByteArray device = path.toLocal8Bit();
    const int descriptor = ::open(device.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    const int error = errno; // saved before the group lookup changes it
    if (descriptor < 0)
        return openFaultText(error, owningGroup(device));
    const bool locked = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    QString fault = locked ? inUseText(lockHolders(path)) : settingsFault(descriptor);
    ::close(descriptor);
    return fault;
}

QString openFaultText(int error, const QString& ownerGroup)
{
    QString text = qt_error_string(error);
    if ((error == EACCES || error == EPERM) && !ownerGroup.isEmpty())
        text +=
            QStringLiteral("; it is owned by group %1: join that (usermod -aG %1 NAME, then log "
                           "in again) or have the rights of the device changed")
                .arg(ownerGroup);
    return text;
}
