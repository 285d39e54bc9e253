#include "command/Program.h"

#include "command/descriptorOutput.h"

#include <QByteArray>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

namespace {

void openMissingStreams()
{
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

void useUtf8()
{
    const locale_t wanted = newlocale(LC_ALL_MASK, "", nullptr);
    const bool isKnown = wanted != nullptr;
    const bool isPlain =
        isKnown && std::strcmp(nl_langinfo_l(CODESET, wanted), "ANSI_X3.4-1968") == 0;
    if (isKnown)
        freelocale(wanted);
    if (isKnown && !isPlain)
        return;
    // Keeps the environment's other locale settings where possible.
    const bool isOverruled = !isKnown || !qEnvironmentVariableIsEmpty("LC_ALL");
    qputenv(isOverruled ? "LC_ALL" : "LC_CTYPE", "C.UTF-8");
}

} // namespace

void Program::prepare()
{
    openMissingStreams();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    useUtf8();
}

int Program::print(const QString& text)
{
    if (writeAll(STDOUT_FILENO, text.toLocal8Bit()))
        return static_cast<int>(ExitStatus::Passed);
    complain(QStringLiteral("cannot write to standard output: %1").arg(qt_error_string(errno)));
    return static_cast<int>(ExitStatus::OutputFailed);
}

int Program::refuse(const QString& message)
{
    complain(message);
    return static_cast<int>(ExitStatus::WrongUsage);
}

bool takesEscapes(int descriptor)
{
    const QByteArray kind = qgetenv("TERM");
    return ::isatty(descriptor) != 0 && !kind.isEmpty() && kind != "dumb";
}
