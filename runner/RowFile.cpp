#include "runner/RowFile.h"

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
    const qint64 complete = file.pos();
    qint64 written = file.write(rows);
    if (written > 0 && written < rows.size())
        written += file.write(rows.mid(written)); // why a part was not taken only shows now
    if (written == rows.size())
        return true;
    const QString reason = file.errorString();
    file.resize(complete);
    file.close();
    return fail(reason);
}

bool RowFile::close()
{
    if (!file.isOpen())
        return faultText.isEmpty();
    file.close();
    return file.error() == QFileDevice::NoError || fail(file.errorString());
}

bool RowFile::fail(const QString& reason)
{
    if (faultText.isEmpty())
        faultText = QStringLiteral("cannot write %1 %2: %3").arg(kindText, file.fileName(), reason);
    return false;
}
