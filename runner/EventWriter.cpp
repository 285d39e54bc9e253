#include "runner/EventWriter.h"

#include "engine/EventRow.h"

bool EventWriter::open(const QString& path)
{
    return file.open(path, eventHeader());
}

bool EventWriter::add(const QDateTime& time, const QString& type, const QString& message)
{
    return !file.isOpen() || file.append(eventRow(time, type, message).toUtf8());
}
