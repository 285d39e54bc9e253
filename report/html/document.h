#pragma once

#include <QJsonObject>
#include <QString>

/**
 * Returns a complete HTML page that needs no other file and no network. `title` is plain text,
 * `body` is HTML, and `data` is for the page's script.
 */
QString htmlDocument(const QString& title, const QString& body, const QJsonObject& data);

/** Returns the heading at the top of a page's body; `title` and `line` are HTML. */
QString pageHeading(const QString& title, const QString& line);
