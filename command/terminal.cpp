#include "command/terminal.h"

#include <QByteArray>

#include <unistd.h>

bool takesEscapes(int descriptor)
{
    const QByteArray kind = qgetenv("TERM");
    return ::isatty(descriptor) != 0 && !kind.isEmpty() && kind != "dumb";
}
