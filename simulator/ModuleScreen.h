#pragma once

#include <QByteArray>
#include <QStringList>

#include <array>

/** The module's character screen, four rows of twenty. Plain value; one thread at a time. */
class ModuleScreen
{
public:
    static constexpr int rowCount = 4;
    static constexpr int columnCount = 20;

    /** A blank screen. */
    ModuleScreen();

    void clear();
    /** Puts `text` there, as much of it as the row holds; nothing when there is no such place. */
    void write(int column, int row, const QByteArray& text);
    /** The rows from the top, each of 20 characters; a byte stands for its Latin-1 character. */
    QStringList rows() const;

private:
    std::array<QByteArray, rowCount> cells;
};
