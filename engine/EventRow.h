#pragma once

#include <QString>

class QDateTime;

/** Returns the first line of an event file: the names of the six columns, with its line end. */
QString eventHeader();

/**
 * Returns one log line of the engine as a row of the event file: six fields by RFC 4180, quoted
 * only where needed, and the line end.
 *
 * `time` is local time, written to the millisecond. `type` becomes the column Event and `message`
 * the column Details, both unchanged. SequenceID, DataSize (payload size of the ping in bytes) and
 * Latency(ms) are parsed from the message; they are empty if it does not contain them. Pure; any
 * thread.
 */
QString eventRow(const QDateTime& time, const QString& type, const QString& message);
