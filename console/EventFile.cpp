#include "console/EventFile.h"

#include "engine/EventRow.h"

#include <QDateTime>
#include <QFileInfo>

namespace {

bool isTaken(const QString& fileName)
{
    const QFileInfo file(fileName);
    return file.exists() || file.isSymLink();
}

} // namespace

bool EventFile::open(const QDateTime& time)
{
    constexpr auto mode = QIODevice::WriteOnly | QIODevice::Text | QIODevice::NewOnly;
    const QString stem =
        QStringLiteral("PacketTest_%1").arg(time.toString(QStringLiteral("yyyyMMdd_HHmmss")));
    file.setFileName(stem + QStringLiteral(".csv"));
    bool opened = file.open(mode);
    for (int copy = 2; !opened && isTaken(name()); ++copy) {
        file.setFileName(QStringLiteral("%1_%2.csv").arg(stem).arg(copy));
        opened = file.open(mode);
    }
    if (!opened)
        return false;
    stream.setDevice(&file);
    stream << eventHeader();
    stream.flush();
    return true;
}

void EventFile::append(const QDateTime& time, const QString& type, const QString& message)
{
    if (!file.isOpen())
        return;
    // After an error, a QTextStream writes nothing more and keeps every later row in memory.
    stream.resetStatus();
    stream << eventRow(time, type, message);
    stream.flush();
}

void EventFile::close()
{
    stream.setDevice(nullptr); // writes what is left in the stream after an error
    file.close();
}
