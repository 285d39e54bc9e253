#include "simulator/ModuleScreen.h"

ModuleScreen::ModuleScreen()
{
    clear();
}

void ModuleScreen::clear()
{
    cells.fill(QByteArray(columnCount, ' '));
}

void ModuleScreen::write(int column, int row, const QByteArray& text)
{
    if (column < 0 || column >= columnCount || row < 0 || row >= rowCount)
        return;
    const QByteArray visible = text.left(columnCount - column);
    cells.at(static_cast<size_t>(row)).replace(column, visible.size(), visible);
}

QStringList ModuleScreen::rows() const
{
    QStringList list;
    for (const QByteArray& row : cells)
        list.append(QString::fromLatin1(row));
    return list;
}
