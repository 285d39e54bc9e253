#pragma once

#include <QString>

#include <memory>

/**
 * A pseudo-terminal that is the module's line. The module uses the master end; a tool opens the
 * other end by its path.
 *
 * A second descriptor keeps the other end open while this object exists, so that a tool that
 * disconnects causes no hang-up. Destruction closes both, and a connected tool gets a hang-up. The
 * terminal starts in raw mode and never becomes a controlling terminal. Reads and writes do not
 * wait. One thread at a time.
 */
class Pty
{
public:
    /** Returns a new line; null on failure, with the reason in `errorText`. */
    static std::unique_ptr<Pty> open(QString& errorText);
    ~Pty();
    Pty(const Pty&) = delete;
    Pty& operator=(const Pty&) = delete;

    /** Path of the tool's end, such as /dev/pts/3. */
    QString path() const { return endPath; }
    /** The master's descriptor, for polling only. */
    int descriptor() const { return master; }

    /**
     * Reads at most `size` bytes and returns their number; 0 when none are ready, -1 when the line
     * cannot be used any more.
     */
    qsizetype read(char* buffer, qsizetype size);
    /**
     * Writes at most `size` bytes and returns how many were taken; 0 when the line is full, -1 when
     * it cannot be used any more.
     */
    qsizetype write(const char* bytes, qsizetype size);

private:
    Pty() = default;
    bool openEnds();

    int master = -1;
    int keptEnd = -1;
    QString endPath;
};
