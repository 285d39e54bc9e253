#include "command/hostFacts.h"

#include <QJsonObject>
#include <QString>

#include <sys/utsname.h>

QJsonValue hostFacts()
{
    utsname facts = {};
    if (::uname(&facts) != 0)
        return {};
    return QJsonObject{{"name", QString::fromLocal8Bit(facts.nodename)},
                       {"kernel", QString::fromLocal8Bit(facts.release)},
                       {"machine", QString::fromLocal8Bit(facts.machine)}};
}
