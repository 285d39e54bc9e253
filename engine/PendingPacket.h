#pragma once

#include <QByteArray>
#include <QtGlobal>

/** A ping that was sent and whose echo has not come back yet. */
struct PendingPacket
{
    quint64 sequenceId;
    QByteArray payload; ///< the data bytes as sent, 8 to 124; the first 8 are the sequence id
    qint64 sendTime;    ///< when the line had taken the frame, ms since the Unix epoch
    qint64 startNs = 0; ///< just before it was written, by the engine's steady clock
};
