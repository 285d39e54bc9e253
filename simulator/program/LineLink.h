#pragma once

#include <QString>

/**
 * A symbolic link that gives the line a fixed path. The destructor removes it, unless it points
 * elsewhere by then. One thread at a time.
 */
class LineLink
{
public:
    enum class Result {
        Made,
        Occupied, ///< something exists there that must not be replaced
        Failed,   ///< a system error
    };

    LineLink() = default;
    ~LineLink();
    LineLink(const LineLink&) = delete;
    LineLink& operator=(const LineLink&) = delete;

    /**
     * Makes `path` a link to `line`; call it once per object. Replaces only a link left by an
     * earlier run: one that leads nowhere, or one that leads to `line` already. `errorText` gets
     * the reason for any other result than Made, in one line.
     */
    Result make(const QString& path, const QString& line, QString& errorText);

private:
    QString linkPath; ///< empty: no link made
    QString target;
};
