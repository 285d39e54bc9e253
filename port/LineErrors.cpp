#include "port/LineErrors.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

std::optional<quint32> knownCount(quint32 count, bool isCounted)
{
    return count > 0 || isCounted ? std::optional(count) : std::nullopt;
}

} // namespace

LineErrorCounts countedBetween(const LineErrorCounts& start, const LineErrorCounts& end)
{
    return {.framing = end.framing - start.framing,
            .parity = end.parity - start.parity,
            .overrun = end.overrun - start.overrun,
            .lineBreak = end.lineBreak - start.lineBreak,
            .bufferOverrun = end.bufferOverrun - start.bufferOverrun};
}

LineErrors::LineErrors(const QString& path, CountedErrors countedKinds)
    : counted(countedKinds), descriptor(::open(path.toLocal8Bit().constData(),
                                               O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)),
      start(read())
{
}

LineErrors::~LineErrors()
{
    if (descriptor >= 0)
        ::close(descriptor);
}

std::optional<LineErrorCounts> LineErrors::read() const
{
    serial_icounter_struct counters = {};
    if (descriptor < 0 || ::ioctl(descriptor, TIOCGICOUNT, &counters) != 0)
        return std::nullopt;
    return LineErrorCounts{.framing = static_cast<quint32>(counters.frame),
                           .parity = static_cast<quint32>(counters.parity),
                           .overrun = static_cast<quint32>(counters.overrun),
                           .lineBreak = static_cast<quint32>(counters.brk),
                           .bufferOverrun = static_cast<quint32>(counters.buf_overrun)};
}

std::optional<KnownLineErrors> LineErrors::sinceStart() const
{
    const std::optional<LineErrorCounts> now = read();
    if (!start || !now)
        return std::nullopt;
    const LineErrorCounts counts = countedBetween(*start, *now);
    const KnownLineErrors known{.framing = knownCount(counts.framing, counted.framing),
                                .parity = knownCount(counts.parity, counted.parity),
                                .overrun = knownCount(counts.overrun, counted.overrun),
                                .lineBreak = knownCount(counts.lineBreak, counted.lineBreak),
                                .bufferOverrun =
                                    knownCount(counts.bufferOverrun, counted.bufferOverrun)};
    return known == KnownLineErrors{} ? std::nullopt : std::optional(known);
}
