#pragma once

#include <QString>

#include <memory>

/**
 * A pseudo-terminal that serves as the module's line: the module has the master end, a tool opens
 * the other end by its path.
 *
 * A second descriptor keeps that other end open for as long as this object lives, so that a tool
 * that disconnects causes no hang-up; destruction closes both, which hangs the line up for whoever
 * is connected. The terminal starts raw and never becomes a controlling one. Neither read nor write
 * waits. One thread at a time.
 */
class Pty
{
public:
    /** A new line, or null with the reason in `errorText`. */
    static std::unique_ptr<Pty> open(QString& errorText);
    ~Pty();
    Pty(const Pty&) = delete;
    Pty& operator=(const Pty&) = delete;

    /** Path of the tool's end, such as /dev/pts/3. */
    QString path() const { return endPath; }
    /** The master's descriptor, to be watched only. */
    int descriptor() const { return master; }

    /** Bytes read, at most `size`; 0 when none are ready, -1 when the line is of no more use. */
    qsizetype read(char* buffer, qsizetype size);
    /** Bytes taken, at most `size`; 0 when the line is full, -1 when it is of no more use. */
    qsizetype write(const char* bytes, qsizetype size);

private:
    Pty() = default;
    bool openEnds();

    int master = -1;
    int keptEnd = -1;
    QString endPath;
};
