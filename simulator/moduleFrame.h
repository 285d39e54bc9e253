#pragma once

#include <QByteArray>
#include <QByteArrayView>

/** The frame on the line, seen from the module. Stateless functions; any thread. */
namespace moduleFrame {

/** Command and data length, in front of the data. */
inline constexpr qsizetype headerLength = 2;
/** Command bits that tell what kind of packet it is; the rest is the request's code. */
inline constexpr quint8 typeMask = 0xC0;
inline constexpr quint8 replyType = 0x40;
inline constexpr quint8 reportType = 0x80;
inline constexpr quint8 errorType = 0xC0;
/** The request that is to be echoed. */
inline constexpr quint8 pingRequest = 0;

/** A complete frame; at most 124 bytes of `data`. */
QByteArray make(quint8 command, const QByteArray& data);
/** The CRC that has to follow `covered`: command, length and data. */
quint16 crc(QByteArrayView covered);

} // namespace moduleFrame
