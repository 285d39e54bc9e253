#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/** A process that uses a port. */
struct PortUser
{
    qint64 processId{};
    QString program; ///< as the kernel names it, at most 15 bytes; empty: it does not tell

    bool operator==(const PortUser&) const = default;
};

/**
 * The processes that have a lock by flock() on the device node `path`, links followed. Empty when
 * there is none or the node cannot be looked at, and when the holder is outside of this container.
 */
QList<PortUser> lockHolders(const QString& path);

/**
 * The processes, without this one, that have the device `path` open, links followed, as far as this
 * process may look; without root's rights those are the user's own. Empty for a pseudo-terminal,
 * whose other side keeps it open as a rule, and for what is no character device.
 */
QList<PortUser> portOpeners(const QString& path);

/** The processes that run a program with one of these names, as the kernel names it. */
QList<PortUser> runningPrograms(const QStringList& names);

/** "in use by", followed by programs and process numbers; "another program" for an empty list. */
QString inUseText(const QList<PortUser>& users);
