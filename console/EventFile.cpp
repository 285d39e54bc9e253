#include "console/MainWindow.h"

#include "engine/EventRow.h"
#include "engine/timing/wallTime.h"

#include <QFile>
#include <QFileInfo>
#include <QStatusBar>
#include <QTextStream>

namespace {

bool isTaken(const QString& fileName)
{
    const QFileInfo file(fileName);
    return file.exists() || file.isSymLink();
}

} // namespace

void MainWindow::openEventFile()
{
    const QString stem =
        QStringLiteral("PacketTest_%1").arg(wallTime().toString(QStringLiteral("yyyyMMdd_HHmmss")));
    csvFileName = stem + QStringLiteral(".csv");
    csvFile = new QFile(csvFileName);
    bool opened = csvFile->open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::NewOnly);
    for (int copy = 2; !opened && isTaken(csvFileName); ++copy) {
        csvFileName = QStringLiteral("%1_%2.csv").arg(stem).arg(copy);
        csvFile->setFileName(csvFileName);
        opened = csvFile->open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::NewOnly);
    }
    if (!opened)
        return;
    csvStream = new QTextStream(csvFile);
    *csvStream << eventHeader();
    csvStream->flush();
    statusBar()->showMessage(QStringLiteral("Logging to: ") + csvFileName);
}

void MainWindow::writeEvent(const QString& type, const QString& msg)
{
    if (csvStream == nullptr)
        return;
    // A stream that has failed takes no more to the file, but keeps every later row in memory.
    csvStream->resetStatus();
    *csvStream << eventRow(wallTime(), type, msg);
    csvStream->flush();
}

void MainWindow::closeEventFile()
{
    delete csvStream; // flushes into the file
    csvStream = nullptr;
    if (csvFile == nullptr)
        return;
    csvFile->close();
    delete csvFile;
    csvFile = nullptr;
}
