#include "report/text/TextTable.h"

#include <algorithm>

QString printable(const QString& text)
{
    QString safe;
    for (const QChar character : text)
        safe += character.isPrint() || character.isSurrogate() ? character : QChar(u'?');
    return safe;
}

void TextTable::addRow(const QStringList& cells)
{
    widths.resize(std::max(widths.size(), cells.size()));
    for (qsizetype i = 0; i < cells.size(); ++i)
        widths[i] = std::max(widths[i], cells[i].size());
    rows.push_back(cells);
}

QString TextTable::text() const
{
    QString lines;
    for (const QStringList& cells : rows) {
        QString line = cells.front().leftJustified(widths.front());
        for (qsizetype i = 1; i < cells.size(); ++i)
            line += QStringLiteral("  ") + cells[i].rightJustified(widths[i]);
        lines += line + u'\n';
    }
    return lines;
}
