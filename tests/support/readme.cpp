#include "tests/support/readme.h"

#include <QFile>

QStringList readmeTable(const QString& heading)
{
    QFile file(README);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString text = QString::fromUtf8(file.readAll()).section(heading + '\n', 1);
    return text.section("\n\n", 0, 0).split('\n').mid(1);
}
