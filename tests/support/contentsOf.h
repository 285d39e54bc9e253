#pragma once

#include <QFile>
#include <QStringList>

/** What the file holds; empty when it cannot be read. */
inline QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/** The lines below this heading of a file. */
inline QStringList linesOf(const QString& path, const QString& heading)
{
    return QString(contentsOf(path))
        .section("# " + heading + '\n', 1)
        .section("\n#", 0, 0)
        .split('\n', Qt::SkipEmptyParts);
}
