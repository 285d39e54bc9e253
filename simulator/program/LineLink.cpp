#include "simulator/program/LineLink.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <unistd.h>

LineLink::~LineLink()
{
    if (!linkPath.isEmpty() && QFileInfo(linkPath).symLinkTarget() == target)
        ::unlink(QFile::encodeName(linkPath).constData());
}

LineLink::Result LineLink::make(const QString& path, const QString& line, QString& errorText)
{
    const QByteArray name = QFile::encodeName(path);
    const QFileInfo found(path);
    const bool stale = found.isSymLink() && (!found.exists() || found.symLinkTarget() == line);
    const bool replaced = !stale || ::unlink(name.constData()) == 0;
    if (replaced && ::symlink(QFile::encodeName(line).constData(), name.constData()) == 0) {
        linkPath = path;
        target = line;
        return Result::Made;
    }
    if (errno == EEXIST) {
        errorText = QStringLiteral("\"%1\" is taken: allowed is a path where nothing is, or a link "
                                   "that leads nowhere")
                        .arg(path);
        return Result::Occupied;
    }
    errorText = QStringLiteral("cannot make the link \"%1\": %2").arg(path, qt_error_string(errno));
    return Result::Failed;
}
