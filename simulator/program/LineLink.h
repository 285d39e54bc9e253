#pragma once

#include <QString>

/**
 * A symbolic link that gives the line a lasting name. Removed at destruction, unless by then it
 * points elsewhere. One thread at a time.
 */
class LineLink
{
public:
    enum class Result {
        Made,
        Occupied, ///< there is something that must not be replaced
        Failed,   ///< the system refused
    };

    LineLink() = default;
    ~LineLink();
    LineLink(const LineLink&) = delete;
    LineLink& operator=(const LineLink&) = delete;

    /**
     * Makes `path` point to `line`, once in the object's life. Takes the place of nothing, of a
     * link that leads nowhere and of one that leads to `line` already: what an earlier run left
     * behind. `errorText` gets the reason of any other result, in one line.
     */
    Result make(const QString& path, const QString& line, QString& errorText);

private:
    QString linkPath; ///< empty: no link of ours
    QString target;
};
