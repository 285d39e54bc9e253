#include "simulator/LedgerFile.h"

bool LedgerFile::open()
{
    return file.open(QIODevice::WriteOnly) &&
           file.write("Number,Arrival,ArrivedUs,Fate,Extras,HeldUs\n") > 0;
}

void LedgerFile::add(const LedgerEntry& ping)
{
    constexpr qint64 microsecondNs = 1000;
    const QString heldUs =
        ping.answeredNs < 0 ? QString()
                            : QString::number((ping.answeredNs - ping.arrivedNs) / microsecondNs);
    const QStringList fields{QString::number(ping.number),
                             QString::number(ping.arrival),
                             QString::number(ping.arrivedNs / microsecondNs),
                             ping.fate(),
                             ping.extras(),
                             heldUs};
    file.write(fields.join(u',').toLatin1() + '\n');
}

bool LedgerFile::commit()
{
    return file.commit();
}

QString LedgerFile::errorText() const
{
    return QStringLiteral("cannot write the ledger \"%1\": %2")
        .arg(file.fileName(), file.errorString());
}
