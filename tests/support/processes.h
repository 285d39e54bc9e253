#pragma once

#include <QtCore>

#include <algorithm>
#include <ctime>

#include <filesystem>
#include <utility>

/** A built program in a process of its own, ended at the latest with this object. */
struct Process : QProcess
{
    Process(const QString& path, const QStringList& arguments) { start(path, arguments); }
    ~Process() override { kill(), waitForFinished(); }

    /** What the program ended with; -1 when it crashed, or did not end in a minute. */
    int status()
    {
        const bool ended = waitForFinished(60000) && exitStatus() == NormalExit;
        errors = readAllStandardError();
        return ended ? exitCode() : -1;
    }

    QByteArray errors; ///< of standard error, up to that end
};

/** From now on the day of a date is neither its month nor its year. */
inline void tellDatesApart()
{
    const QDate today = QDateTime::currentDateTimeUtc().date();
    const bool areAlike = today.day() == today.month() || today.day() == today.year() % 100;
    qputenv("TZ", areAlike ? "NEXT-24" : "TODAY0");
    tzset();
}

/** The descriptors and the threads that this process has, without those that Qt paints with. */
inline std::pair<qsizetype, qsizetype> processUse()
{
    const auto entries = [](const char* path) {
        const std::filesystem::directory_iterator first(path);
        return std::distance(begin(first), end(first));
    };
    const std::filesystem::directory_iterator threads("/proc/self/task");
    const auto painting = std::count_if(begin(threads), end(threads), [](const auto& thread) {
        QFile name(thread.path() / "comm");
        return name.open(QIODevice::ReadOnly) && name.readAll() == "Thread (pooled)\n";
    });
    return {entries("/proc/self/fd") - painting, entries("/proc/self/task") - painting};
}
