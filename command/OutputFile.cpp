#include "command/OutputFile.h"

#include "command/descriptorOutput.h"

#include <QFile>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qsizetype fewestBytesAtOnce = 16384;

enum class Target {
    Replaceable, ///< a regular file, or no file yet
    Direct,      ///< written directly
    Unsuitable,
};

QString unsuitable()
{
    return QStringLiteral("it is there and no regular file");
}

bool isWritable(int descriptor)
{
    return (::fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

/** Returns the standard stream that `name` stands for, or whose file it names; negative: none. */
int streamAt(const QByteArray& name)
{
    if (name == "-")
        return STDOUT_FILENO;
    struct stat there = {};
    if (::stat(name.constData(), &there) != 0)
        return -1;
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat open = {};
        if (::fstat(stream, &open) == 0 && open.st_dev == there.st_dev &&
            open.st_ino == there.st_ino && isWritable(stream))
            return stream;
    }
    return -1;
}

Target targetAt(const QByteArray& name)
{
    struct stat there = {};
    if (streamAt(name) >= 0)
        return Target::Direct;
    // If stat() fails, open() reports the reason.
    if (::stat(name.constData(), &there) != 0 || S_ISREG(there.st_mode))
        return Target::Replaceable;
    return S_ISFIFO(there.st_mode) || S_ISCHR(there.st_mode) ? Target::Direct : Target::Unsuitable;
}

QString whatIsWritten(const QString& kind, const QString& path)
{
    return QStringLiteral("%1 to %2")
        .arg(kind, path == u"-" ? QStringLiteral("standard output") : path);
}

QString faultOf(const QString& what, const QString& reason)
{
    return QStringLiteral("cannot write %1: %2").arg(what, reason);
}

} // namespace

OutputFile::OutputFile(const QString& kind, const QString& path)
    : whatText(whatIsWritten(kind, path)), filePath(path), replacement(path)
{
}

OutputFile::~OutputFile()
{
    if (direct >= 0)
        ::close(direct);
}

bool OutputFile::open()
{
    const QByteArray name = QFile::encodeName(filePath);
    switch (targetAt(name)) {
    case Target::Direct:
        return openDirectly(name);
    case Target::Unsuitable:
        return fail(unsuitable());
    case Target::Replaceable:
        break;
    }
    return replacement.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ||
           fail(replacement.errorString());
}

bool OutputFile::openDirectly(const QByteArray& name)
{
    const int stream = streamAt(name);
    // Opening fails for a pipe without a reader: one may never come.
    direct = stream >= 0 ? ::fcntl(stream, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                         : ::open(name.constData(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    return direct >= 0 || fail(qt_error_string(errno));
}

bool OutputFile::append(const QByteArray& bytes)
{
    if (!faultText.isEmpty())
        return false;
    waiting += bytes;
    return waiting.size() < fewestBytesAtOnce || flush();
}

bool OutputFile::commit()
{
    if (!faultText.isEmpty() || !flush())
        return false;
    if (direct >= 0)
        return ::close(std::exchange(direct, -1)) == 0 || fail(qt_error_string(errno));
    // Without this, a crash of the computer could leave an empty file under the new name.
    if (!syncToDisk(replacement.handle()))
        return fail(qt_error_string(errno));
    return replacement.commit() || fail(replacement.errorString());
}

/** Does not write through QSaveFile, which gives no reason for a partial write. */
bool OutputFile::flush()
{
    return writeAll(descriptor(), std::exchange(waiting, {})) || fail(qt_error_string(errno));
}

bool OutputFile::fail(const QString& reason)
{
    faultText = faultOf(whatText, reason);
    if (replacement.isOpen()) {
        replacement.cancelWriting();
        replacement.commit(); // frees the disk space
    }
    return false;
}

QString writeOutput(const QString& kind, const QString& path, const QByteArray& bytes)
{
    if (path.isEmpty())
        return {};
    OutputFile file(kind, path);
    if (file.open() && file.append(bytes))
        file.commit();
    return file.fault();
}

QString outputFault(const QString& kind, const QString& path)
{
    if (path.isEmpty())
        return {};
    const QString what = whatIsWritten(kind, path);
    const QByteArray name = QFile::encodeName(path);
    QSaveFile probe(path);
    switch (targetAt(name)) {
    case Target::Replaceable:
        return probe.open(QIODevice::WriteOnly) ? QString() : faultOf(what, probe.errorString());
    case Target::Direct: // opening and closing a pipe would signal the end to its reader
        return streamAt(name) >= 0 || ::access(name.constData(), W_OK) == 0
                   ? QString()
                   : faultOf(what, qt_error_string(errno));
    case Target::Unsuitable:
        break;
    }
    return faultOf(what, unsuitable());
}
