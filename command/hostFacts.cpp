#include "command/hostFacts.h"

#include <sys/utsname.h>

std::optional<HostFacts> hostFacts()
{
    utsname facts = {};
    if (::uname(&facts) != 0)
        return std::nullopt;
    return HostFacts{.name = QString::fromLocal8Bit(facts.nodename),
                     .kernel = QString::fromLocal8Bit(facts.release),
                     .machine = QString::fromLocal8Bit(facts.machine)};
}
