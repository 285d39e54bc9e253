#include "simulator/LedgerEntry.h"

#include <QStringList>

#include <initializer_list>
#include <utility>

namespace {

using Naming = std::pair<quint64 ModuleCounts::*, const char*>;

QString namesOf(const ModuleCounts& counts, std::initializer_list<Naming> namings)
{
    QStringList names;
    for (const auto& [count, name] : namings) {
        if (counts.*count > 0)
            names += QLatin1String(name);
    }
    return names.join(u'+');
}

} // namespace

QString LedgerEntry::fate() const
{
    const QString names = namesOf(what, {{&ModuleCounts::echoesIntact, "intact"},
                                         {&ModuleCounts::errorReplies, "errorReply"},
                                         {&ModuleCounts::truncated, "truncated"},
                                         {&ModuleCounts::altered, "altered"},
                                         {&ModuleCounts::corrupted, "corrupted"},
                                         {&ModuleCounts::dropped, "dropped"},
                                         {&ModuleCounts::tooFast, "tooFast"},
                                         {&ModuleCounts::overrun, "overrun"}});
    return names.isEmpty() ? QStringLiteral("unanswered") : names;
}

QString LedgerEntry::extras() const
{
    return namesOf(what, {{&ModuleCounts::garbage, "garbage"},
                          {&ModuleCounts::reports, "report"},
                          {&ModuleCounts::split, "split"},
                          {&ModuleCounts::duplicated, "duplicated"}});
}
