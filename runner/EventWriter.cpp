#include "runner/EventWriter.h"

#include "engine/EventRow.h"

bool EventWriter::open(const QString& path)
{
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        return fail(file.errorString());
    return write(eventHeader());
}

bool EventWriter::add(const QDateTime& time, const QString& type, const QString& message)
{
    return !file.isOpen() || write(eventRow(time, type, message));
}

bool EventWriter::write(const QString& text)
{
    const qint64 complete = file.pos();
    const QByteArray bytes = text.toUtf8();
    if (file.write(bytes) == bytes.size())
        return true;
    const QString reason = file.errorString();
    file.resize(complete);
    file.close();
    return fail(reason);
}

bool EventWriter::close()
{
    if (!file.isOpen())
        return faultText.isEmpty();
    file.close();
    return file.error() == QFileDevice::NoError || fail(file.errorString());
}

bool EventWriter::fail(const QString& reason)
{
    if (faultText.isEmpty())
        faultText =
            QStringLiteral("cannot write the event file %1: %2").arg(file.fileName(), reason);
    return false;
}
