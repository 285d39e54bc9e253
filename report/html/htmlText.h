#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

/** `text` for the inside of an element or of a quoted attribute; controls are made visible. */
QString html(const QString& text);

/** The same for text of unknown origin, whose writing direction stays inside of it. */
QString isolated(const QString& text);

/** `object` as it may stand in a script element. */
QString scriptJson(const QJsonObject& object);

/** A table in a box that scrolls by itself and can be reached by the keyboard. */
class HtmlTable
{
public:
    /** `headers` is markup; columns from the second on hold numbers when `numeric`. */
    HtmlTable(const QString& caption, const QStringList& headers, bool numeric = true);
    /** `head` and `cells` are markup. */
    void addRow(const QString& head, const QStringList& cells);
    /** In place of a table without a row it is said that nothing was measured. */
    QString markup() const;

private:
    QString caption;
    QString text;
    bool empty = true;
};
