#pragma once

#include <QProcess>

#include <filesystem>
#include <utility>

/** A built program in a process of its own, ended at the latest with this object. */
struct Program : QProcess
{
    Program(const QString& path, const QStringList& arguments) { start(path, arguments); }
    ~Program() override { kill(), waitForFinished(); }

    /** True once standard error has this text. */
    bool says(const QByteArray& text)
    {
        setReadChannel(StandardError);
        while (!errors.contains(text) && waitForReadyRead(60000))
            errors += readAllStandardError();
        return errors.contains(text);
    }
    /** What the program ended with; -1 when it crashed, or did not end in a minute. */
    int status()
    {
        const bool ended = waitForFinished(60000) && exitStatus() == NormalExit;
        errors += readAllStandardError();
        return ended ? exitCode() : -1;
    }

    QByteArray errors; ///< of standard error, up to the last of these calls
};

/** The descriptors and the threads that this process has. */
inline std::pair<qsizetype, qsizetype> processUse()
{
    const auto entries = [](const char* path) {
        const std::filesystem::directory_iterator first(path);
        return std::distance(begin(first), end(first));
    };
    return {entries("/proc/self/fd"), entries("/proc/self/task")};
}
