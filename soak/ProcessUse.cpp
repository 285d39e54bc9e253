#include "soak/ProcessUse.h"

#include <QDir>
#include <QFile>

#include <malloc.h>
#include <unistd.h>

namespace {

constexpr auto everything = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;

qint64 residentPages()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() : 0;
}

} // namespace

ProcessUse ProcessUse::now()
{
    malloc_trim(0);
    constexpr qint64 kilobyte = 1024;
    return {.descriptors = QDir(QStringLiteral("/proc/self/fd")).entryList(everything).size(),
            .threads = QDir(QStringLiteral("/proc/self/task")).entryList(everything).size(),
            .residentKb = residentPages() * sysconf(_SC_PAGESIZE) / kilobyte,
            .heapKb = static_cast<qint64>(mallinfo2().uordblks) / kilobyte};
}
