#pragma once

#include <QList>
#include <QStringList>

#include <vector>

/** `text` with everything that could steer a terminal made visible. */
QString printable(const QString& text);

/** Columns as wide as they need to be; the first is aligned left, the others right. */
class TextTable
{
public:
    /** At least one cell. */
    void addRow(const QStringList& cells);
    QString text() const;

private:
    std::vector<QStringList> rows;
    QList<qsizetype> widths;
};
