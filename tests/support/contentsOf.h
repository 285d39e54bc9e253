#pragma once

#include <QFile>

/** What the file holds; empty when it cannot be read. */
inline QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
