#include "port/portUsers.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <optional>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

/** First and last major device number that the kernel gives to pseudo-terminals. */
constexpr unsigned firstPtyMajor = 136;
constexpr unsigned lastPtyMajor = 143;

std::optional<struct stat> nodeAt(const QString& path)
{
    struct stat node = {};
    if (::stat(path.toLocal8Bit().constData(), &node) != 0)
        return std::nullopt;
    return node;
}

bool isPseudoTerminal(const struct stat& node)
{
    const unsigned type = major(node.st_rdev);
    return S_ISCHR(node.st_mode) && type >= firstPtyMajor && type <= lastPtyMajor;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

PortUser userWith(qint64 processId)
{
    const QByteArray name = contentOf(QStringLiteral("/proc/%1/comm").arg(processId));
    return {processId, QString::fromLocal8Bit(name).trimmed()};
}

QList<qint64> processes()
{
    QList<qint64> ids;
    for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isProcess = false;
        const qint64 id = entry.toLongLong(&isProcess);
        if (isProcess)
            ids += id;
    }
    return ids;
}

bool hasOpen(qint64 processId, dev_t device)
{
    const QDir folder(QStringLiteral("/proc/%1/fd").arg(processId));
    const QStringList names = folder.entryList(QDir::AllEntries | QDir::System | QDir::Hidden);
    return std::any_of(names.begin(), names.end(), [&](const QString& name) {
        const auto node = nodeAt(folder.filePath(name));
        return node && S_ISCHR(node->st_mode) && node->st_rdev == device;
    });
}

} // namespace

QList<PortUser> lockHolders(const QString& path)
{
    const auto node = nodeAt(path);
    if (!node)
        return {};
    const QByteArray wanted = QStringLiteral("%1:%2:%3")
                                  .arg(major(node->st_dev), 2, 16, QLatin1Char('0'))
                                  .arg(minor(node->st_dev), 2, 16, QLatin1Char('0'))
                                  .arg(node->st_ino)
                                  .toLatin1();
    QList<PortUser> holders;
    // Fields: number, type, mode, access, process, file. A process that waits for a lock has "->"
    // in the type's place.
    for (const QByteArray& line : contentOf(QStringLiteral("/proc/locks")).split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.value(1) == "FLOCK" && fields.value(5) == wanted && fields[4].toLongLong() > 0)
            holders += userWith(fields[4].toLongLong());
    }
    return holders;
}

QList<PortUser> portOpeners(const QString& path)
{
    const auto node = nodeAt(path);
    if (!node || !S_ISCHR(node->st_mode) || isPseudoTerminal(*node))
        return {};
    QList<PortUser> openers;
    for (const qint64 id : processes()) {
        if (id != ::getpid() && hasOpen(id, node->st_rdev))
            openers += userWith(id);
    }
    return openers;
}

QList<PortUser> runningPrograms(const QStringList& names)
{
    QList<PortUser> found;
    for (const qint64 id : processes()) {
        const PortUser process = userWith(id);
        if (names.contains(process.program))
            found += process;
    }
    return found;
}

QString inUseText(const QList<PortUser>& users)
{
    QStringList names;
    for (const PortUser& user : users)
        names += QStringLiteral("%1 (process %2)")
                     .arg(user.program.isEmpty() ? QStringLiteral("a program") : user.program,
                          QString::number(user.processId));
    if (names.isEmpty())
        names += QStringLiteral("another program");
    return QStringLiteral("in use by ") + names.join(QStringLiteral(", "));
}
