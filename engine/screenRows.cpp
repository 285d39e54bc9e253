#include "engine/screenRows.h"

#include "engine/TestStats.h"

#include <QDateTime>

QStringList screenRows(const QDateTime& time, const TestStats* stats)
{
    QStringList rows{time.toString(QStringLiteral("MM/dd/yy hh:mm:ss"))};
    if (stats == nullptr)
        return rows << QStringLiteral("Ready");
    rows << QStringLiteral("Tx:%1 Rx:%2").arg(stats->packetsSent).arg(stats->packetsReceived);
    rows << (stats->packetsSent == 0 ? QString()
                                     : QStringLiteral("OK:%1% %2ms")
                                           .arg(QString::number(stats->successRate, 'f', 0),
                                                QString::number(stats->avgLatencyMs)));
    rows << (stats->packetsLost == 0 ? QString()
                                     : QStringLiteral("Lost:%1").arg(stats->packetsLost));
    return rows;
}
