#pragma once

#include <QStringList>
#include <QStringView>

#include <optional>

/**
 * Takes the first record of `text`, an RFC 4180 table, off its front, line end included, and
 * returns its fields without their quoting; a quoted field may span lines.
 *
 * Nothing, and `text` unchanged, when there is no well-formed record: at the end of the text, a
 * record without a line end, a quote within a field that is not quoted, text behind a closing
 * quote. Line ends are single line feeds. Pure; any thread.
 */
std::optional<QStringList> takeCsvRecord(QStringView& text);
