#pragma once

#include <QJsonObject>
#include <QString>

/**
 * A whole page that needs no other file and no network: `title` is plain text, `body` is markup,
 * and `data` is for the page's script.
 */
QString htmlDocument(const QString& title, const QString& body, const QJsonObject& data);

/** The head of a body; both are markup. */
QString pageHeading(const QString& title, const QString& line);
