#include "runner/reportTarget.h"

#include "runner/standardStreams.h"

#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>

namespace {

QString fault(const QString& path, const QString& reason)
{
    return QStringLiteral("cannot write the report to %1: %2").arg(path, reason);
}

} // namespace

QString reportTargetFault(const QString& path)
{
    if (path.isEmpty() || path == u"-")
        return {};
    const QFileInfo present(path);
    // A file that is replaced in one step would take the place of a device or a pipe.
    if (present.exists() && !present.isFile())
        return fault(path, QStringLiteral("it is there and no regular file"));
    QSaveFile probe(path);
    if (!probe.open(QIODevice::WriteOnly))
        return fault(path, probe.errorString());
    probe.cancelWriting();
    return {};
}

QString writeReport(const QString& path, const QByteArray& text)
{
    if (path.isEmpty())
        return {};
    if (path == u"-") {
        return printOnStandardOutput(text)
                   ? QString()
                   : fault(QStringLiteral("standard output"), qt_error_string(errno));
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        return fault(path, file.errorString());
    return {};
}
