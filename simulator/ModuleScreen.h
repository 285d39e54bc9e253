#pragma once

#include <QByteArray>
#include <QStringList>

#include <array>

/**
 * The module's character screen with four rows of twenty characters. Value type; one thread at a
 * time.
 */
class ModuleScreen
{
public:
    static constexpr int rowCount = 4;
    static constexpr int columnCount = 20;

    /** Makes a blank screen. */
    ModuleScreen();

    void clear();
    /**
     * Writes `text` at `column` and `row`, as much of it as fits in the row. Does nothing for a
     * position outside the screen.
     */
    void write(int column, int row, const QByteArray& text);
    /** Returns the rows from the top, each with 20 characters; each byte is a Latin-1 character. */
    QStringList rows() const;

private:
    std::array<QByteArray, rowCount> cells;
};
