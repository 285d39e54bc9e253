#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/** A process that uses a port. */
struct PortUser
{
    qint64 processId{};
    QString program; ///< the kernel's name for it, at most 15 bytes; empty: not known

    bool operator==(const PortUser&) const = default;
};

/**
 * Returns the processes that hold a flock() lock on the device node `path`; follows links. Empty
 * when there is none, when the node cannot be examined, or when the holder is outside this
 * container.
 */
QList<PortUser> lockHolders(const QString& path);

/**
 * Returns the other processes that have the device `path` open; follows links. Without root's
 * rights it sees only the user's own processes. Empty for a pseudo-terminal, because its other side
 * usually keeps it open, and for anything that is not a character device.
 */
QList<PortUser> portOpeners(const QString& path);

/** Returns the processes that run a program with one of these names, as the kernel names it. */
QList<PortUser> runningPrograms(const QStringList& names);

/**
 * Returns "in use by" and a list of programs with process numbers; "another program" for an empty
 * list.
 */
QString inUseText(const QList<PortUser>& users);
