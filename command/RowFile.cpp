#include "command/RowFile.h"

#include "command/descriptorOutput.h"

#include <cerrno>

bool RowFile::open(const QString& path, const QString& header)
{
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        return fail(file.errorString());
    return append(header.toUtf8());
}

bool RowFile::append(const QByteArray& rows)
{
    if (!file.isOpen() || rows.isEmpty())
        return true;
    if (writeAll(file.handle(), rows)) {
        wholeBytes += rows.size();
        return true;
    }
    const QString reason = qt_error_string(errno);
    file.resize(wholeBytes);
    file.close();
    return fail(reason);
}

bool RowFile::close()
{
    if (!file.isOpen())
        return faultText.isEmpty();
    if (!syncToDisk(file.handle()))
        fail(qt_error_string(errno));
    file.close();
    return file.error() == QFileDevice::NoError ? faultText.isEmpty() : fail(file.errorString());
}

bool RowFile::fail(const QString& reason)
{
    if (faultText.isEmpty())
        faultText = QStringLiteral("cannot write %1 %2: %3").arg(kindText, file.fileName(), reason);
    return false;
}
