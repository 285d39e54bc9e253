#include "report/html/htmlText.h"

#include <QJsonDocument>

namespace {

/**
 * Whether `character` is a control character or changes the writing direction of the text after it.
 */
bool misleads(QChar character)
{
    return character.category() == QChar::Other_Control ||
           (character >= u'\u202a' && character <= u'\u202e') ||
           (character >= u'\u2066' && character <= u'\u2069');
}

} // namespace

QString html(const QString& text)
{
    QString safe;
    for (const QChar character : text)
        safe += misleads(character) ? QChar(0xfffd) : character;
    return safe.toHtmlEscaped().replace(u'\'', QStringLiteral("&#39;"));
}

QString isolated(const QString& text)
{
    return QStringLiteral("<bdi>%1</bdi>").arg(html(text));
}

QString scriptJson(const QJsonObject& object)
{
    QString text = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
    for (const char16_t character : {u'<', u'>', u'&', u'\u2028', u'\u2029'})
        text.replace(QChar(character),
                     QStringLiteral("\\u%1").arg(int(character), 4, 16, QChar(u'0')));
    return text;
}

HtmlTable::HtmlTable(const QString& name, const QStringList& headers, bool numeric)
    : caption(name),
      text(QStringLiteral("<table%1><caption>%2</caption><thead><tr>")
               .arg(numeric ? QStringLiteral(" class=\"numbers\"") : QString(), html(name)))
{
    for (const QString& header : headers)
        text += QStringLiteral("<th scope=\"col\">") + header + QStringLiteral("</th>");
    text += QStringLiteral("</tr></thead><tbody>\n");
}

void HtmlTable::addRow(const QString& head, const QStringList& cells)
{
    empty = false;
    text += QStringLiteral("<tr><th scope=\"row\">") + head + QStringLiteral("</th>");
    for (const QString& cell : cells)
        text += QStringLiteral("<td>") + cell + QStringLiteral("</td>");
    text += QStringLiteral("</tr>\n");
}

QString HtmlTable::markup() const
{
    if (empty)
        return QStringLiteral("<p class=\"quiet\">%1: nothing was measured.</p>\n")
            .arg(html(caption));
    return QStringLiteral("<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"") +
           html(caption) + QStringLiteral("\">") + text +
           QStringLiteral("</tbody></table></div>\n");
}
