#pragma once

#include <QList>
#include <QStringList>

#include <vector>

/** Returns `text` with every character replaced that could control a terminal. */
QString printable(const QString& text);

/**
 * A plain text table. Each column is as wide as its longest cell; the first is aligned left, the
 * others right.
 */
class TextTable
{
public:
    /** Adds a row of at least one cell. */
    void addRow(const QStringList& cells);
    QString text() const;

private:
    std::vector<QStringList> rows;
    QList<qsizetype> widths;
};
