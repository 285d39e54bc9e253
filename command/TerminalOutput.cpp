#include "command/TerminalOutput.h"

#include "command/Program.h"

#include <QDateTime>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr auto eraseLine = "\r\033[K";
constexpr int usualColumns = 80;

QString colourOf(const QString& type)
{
    if (type == u"SUCCESS")
        return QStringLiteral("\033[32m");
    if (type == u"ERROR")
        return QStringLiteral("\033[31m");
    if (type == u"WARNING" || type == u"TIMEOUT")
        return QStringLiteral("\033[33m");
    return {};
}

} // namespace

TerminalOutput::TerminalOutput(StandardError& standardError, bool beQuiet)
    : errors(standardError), quiet(beQuiet), drawing(takesEscapes(STDERR_FILENO)),
      coloured(drawing && !qEnvironmentVariableIsSet("NO_COLOR"))
{
}

TerminalOutput::~TerminalOutput()
{
    showStatus({});
}

void TerminalOutput::log(const QDateTime& time, const QString& type, const QString& message)
{
    if (quiet)
        return;
    QString line = QStringLiteral("[%1] %2: %3")
                       .arg(time.toString(QStringLiteral("hh:mm:ss.zzz")), type, message);
    const QString colour = coloured ? colourOf(type) : QString();
    if (!colour.isEmpty())
        line = colour + line + QStringLiteral("\033[0m");
    print(line);
}

void TerminalOutput::complain(const QString& message)
{
    print(errors.ownLine(message));
}

void TerminalOutput::showStatus(const QStringList& pieces)
{
    if (quiet || !drawing || (pieces.isEmpty() && status.isEmpty()))
        return;
    status = pieces;
    errors.draw(QLatin1String(eraseLine) + drawnStatus());
}

void TerminalOutput::print(const QString& line)
{
    const QString before = status.isEmpty() ? QString() : QLatin1String(eraseLine);
    errors.print(line, before, drawnStatus());
}

QString TerminalOutput::drawnStatus() const
{
    winsize size = {};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    // Leaves the last column free: a terminal may wrap as soon as it is filled.
    const int room = (known ? size.ws_col : usualColumns) - 1;
    QString line;
    for (const QString& piece : status) {
        if (line.size() + piece.size() > room)
            break;
        line += piece;
    }
    return line;
}
