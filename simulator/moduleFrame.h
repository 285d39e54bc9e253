#pragma once

#include <QByteArray>
#include <QByteArrayView>

/** Frames on the line, from the module's view. Stateless functions; any thread. */
namespace moduleFrame {

/** Size of command and data length, which precede the data. */
inline constexpr qsizetype headerLength = 2;
/** Bits of the command that give the packet type; the others are the request's code. */
inline constexpr quint8 typeMask = 0xC0;
inline constexpr quint8 replyType = 0x40;
inline constexpr quint8 reportType = 0x80;
inline constexpr quint8 errorType = 0xC0;
/** The request that the module echoes. */
inline constexpr quint8 pingRequest = 0;

/** Returns a complete frame; `data` has at most 124 bytes. */
QByteArray make(quint8 command, const QByteArray& data);
/** Returns the CRC of `covered`: command, length and data. */
quint16 crc(QByteArrayView covered);

} // namespace moduleFrame
