#include "runner/standardStreams.h"

#include <csignal>
#include <cstdio>

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

bool printOnStandardOutput(const QByteArray& text)
{
    return std::fputs(text.constData(), stdout) >= 0 && std::fflush(stdout) == 0;
}
