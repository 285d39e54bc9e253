#include "simulator/program/LedgerFile.h"

bool LedgerFile::open()
{
    return file.open() && file.append("Number,Arrival,ArrivedUs,Fate,Extras,HeldUs\n");
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
    file.append(fields.join(u',').toLatin1() + '\n');
}
