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
    csvFile.setFileName(stem + QStringLiteral(".csv"));
    bool opened = csvFile.open(mode);
    for (int copy = 2; !opened && isTaken(name()); ++copy) {
        csvFile.setFileName(QStringLiteral("%1_%2.csv").arg(stem).arg(copy));
        opened = csvFile.open(mode);
    }
    if (!opened)
        return false;
    csvStream.setDevice(&csvFile);
    csvStream << eventHeader();
    csvStream.flush();
    return true;
}

void EventFile::append(const QDateTime& time, const QString& type, const QString& message)
{
    if (!csvFile.isOpen())
        return;
    // After an error, a QTextStream writes nothing more and keeps every later row in memory.
    csvStream.resetStatus();
    csvStream << eventRow(time, type, message);
    csvStream.flush();
}

void EventFile::close()
{
    csvStream.setDevice(nullptr); // writes what an error has left in the stream
    csvFile.close();
}
