#pragma once

#include <QByteArray>
#include <QtGlobal>

/** A ping that was sent and has no echo yet. */
struct PendingPacket
{
    quint64 sequenceId;
    QByteArray payload; ///< the data bytes as sent, 8 to 124; the first 8 are the sequence id
    qint64 sendTime;    ///< after the frame was written, ms since the Unix epoch
    qint64 startNs = 0; ///< just before it was written, by the engine's steady clock
};
