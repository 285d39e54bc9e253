#pragma once

#include <QtGlobal>

/** What this process holds of the system, as /proc has it. */
struct ProcessUse
{
    qint64 descriptors = 0;
    qint64 threads = 0;
    qint64 residentKb = 0;
    qint64 heapKb = 0; ///< allocated and not freed, threads' caches included

    /** As of now; gives what the allocator keeps back to the system first. */
    static ProcessUse now();
};
