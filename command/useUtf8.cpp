#include "command/useUtf8.h"

#include <QByteArray>

#include <clocale>
#include <cstring>

#include <langinfo.h>

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
    // What else the environment says of the locale is kept where that can be.
    const bool isOverruled = !isKnown || !qEnvironmentVariableIsEmpty("LC_ALL");
    qputenv(isOverruled ? "LC_ALL" : "LC_CTYPE", "C.UTF-8");
}
