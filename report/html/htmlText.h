#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

/**
 * Escapes `text` for use in an element or in a quoted attribute; control characters are replaced by
 * U+FFFD.
 */
QString html(const QString& text);

/**
 * Like html(), for text of unknown origin: its writing direction does not affect the text around
 * it.
 */
QString isolated(const QString& text);

/** Returns `object` as JSON that is safe inside a script element. */
QString scriptJson(const QJsonObject& object);

/** An HTML table in a box that scrolls separately and can be reached by the keyboard. */
class HtmlTable
{
public:
    /**
     * `caption` is plain text and `headers` are HTML. With `numeric`, all columns but the first
     * contain numbers.
     */
    HtmlTable(const QString& caption, const QStringList& headers, bool numeric = true);
    /** Adds a row; `head` and `cells` are HTML. */
    void addRow(const QString& head, const QStringList& cells);
    /** Returns the table as HTML or, without rows, a sentence that nothing was measured. */
    QString markup() const;

private:
    QString caption;
    QString text;
    bool empty = true;
};
