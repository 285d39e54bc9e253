#pragma once

#include <QString>

class QDateTime;

/** First line of an event file: the names of the six columns, with its line end. */
QString eventHeader();

/**
 * One line of the engine as a row of the event file: six fields by RFC 4180, quoted only where they
 * must be, and the line end.
 *
 * `time` is local time, written to the millisecond. `type` becomes the column Event and `message`
 * the column Details, both unchanged. SequenceID, DataSize (payload size of the ping in bytes) and
 * Latency(ms) are read out of the message where its wording has them and are empty elsewhere.
 * Pure; any thread.
 */
QString eventRow(const QDateTime& time, const QString& type, const QString& message);
