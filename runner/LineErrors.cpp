#include "runner/LineErrors.h"

#include <QJsonObject>

#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>
#include <unistd.h>

LineErrorCounts countedBetween(const LineErrorCounts& start, const LineErrorCounts& end)
{
    return {.framing = end.framing - start.framing,
            .parity = end.parity - start.parity,
            .overrun = end.overrun - start.overrun,
            .lineBreak = end.lineBreak - start.lineBreak,
            .bufferOverrun = end.bufferOverrun - start.bufferOverrun};
}

LineErrors::LineErrors(const QString& path)
    : descriptor(
          ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)),
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

QJsonValue LineErrors::sinceStart() const
{
    const std::optional<LineErrorCounts> now = read();
    if (!start || !now)
        return {};
    const LineErrorCounts counted = countedBetween(*start, *now);
    return QJsonObject{{"framing", qint64{counted.framing}},
                       {"parity", qint64{counted.parity}},
                       {"overrun", qint64{counted.overrun}},
                       {"break", qint64{counted.lineBreak}},
                       {"bufferOverrun", qint64{counted.bufferOverrun}}};
}
