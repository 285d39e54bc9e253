#include "command/standardStreams.h"

#include "command/descriptorOutput.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

void prepareStandardStreams()
{
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

QString printOnStandardOutput(const QByteArray& text)
{
    if (writeAll(STDOUT_FILENO, text))
        return {};
    return QStringLiteral("cannot write to standard output: %1").arg(qt_error_string(errno));
}
