#pragma once

#include <QtGlobal>

#include <array>

/**
 * What a simulated module has received and what has become of it.
 *
 * A ping's answer, and each fault in it, is counted once the last byte concerned has been handed to
 * the line, so that the counts tell what happened and not what was planned. At all times
 * pingsReceived == echoesIntact + echoesDamaged + dropped + tooFast + overrun + unanswered.
 */
struct ModuleCounts
{
    quint64 pingsReceived = 0;
    quint64 echoesIntact = 0;   ///< pings with a faultless echo handed over, counted once each
    quint64 echoesDamaged = 0;  ///< pings answered by anything else
    quint64 dropped = 0;        ///< pings left without an answer on purpose
    quint64 tooFast = 0;        ///< pings dropped for coming faster than the module takes them
    quint64 overrun = 0;        ///< pings whose whole answer was lost: too much waited already
    quint64 unanswered = 0;     ///< pings whose answer is still held back or on its way out
    quint64 corrupted = 0;      ///< answers with a bit flipped
    quint64 altered = 0;        ///< echoes with a payload byte changed
    quint64 truncated = 0;      ///< echoes cut short
    quint64 duplicated = 0;     ///< second copies
    quint64 garbage = 0;        ///< runs of random bytes
    quint64 errorReplies = 0;   ///< error replies to pings
    quint64 reports = 0;        ///< report packets
    quint64 split = 0;          ///< answers sent in two pieces
    quint64 lcdRequests = 0;    ///< requests to clear the screen or to write on it
    quint64 otherRequests = 0;  ///< requests that the module does not know
    quint64 repliesLost = 0;    ///< answers to those two kinds lost like an overrun
    quint64 packetsIgnored = 0; ///< correct frames that are no request

    ModuleCounts& operator+=(const ModuleCounts& other);
};

/** A count and the name it is published under. */
struct ModuleCountField
{
    const char* name;
    quint64 ModuleCounts::*value;
};

inline constexpr std::array<ModuleCountField, 19> moduleCountFields{{
    {"pingsReceived", &ModuleCounts::pingsReceived},
    {"echoesIntact", &ModuleCounts::echoesIntact},
    {"echoesDamaged", &ModuleCounts::echoesDamaged},
    {"dropped", &ModuleCounts::dropped},
    {"tooFast", &ModuleCounts::tooFast},
    {"overrun", &ModuleCounts::overrun},
    {"unanswered", &ModuleCounts::unanswered},
    {"corrupted", &ModuleCounts::corrupted},
    {"altered", &ModuleCounts::altered},
    {"truncated", &ModuleCounts::truncated},
    {"duplicated", &ModuleCounts::duplicated},
    {"garbage", &ModuleCounts::garbage},
    {"errorReplies", &ModuleCounts::errorReplies},
    {"reports", &ModuleCounts::reports},
    {"split", &ModuleCounts::split},
    {"lcdRequests", &ModuleCounts::lcdRequests},
    {"otherRequests", &ModuleCounts::otherRequests},
    {"repliesLost", &ModuleCounts::repliesLost},
    {"packetsIgnored", &ModuleCounts::packetsIgnored},
}};
static_assert(sizeof(ModuleCounts) == moduleCountFields.size() * sizeof(quint64),
              "every count has its entry in the table");

inline ModuleCounts& ModuleCounts::operator+=(const ModuleCounts& other)
{
    for (const ModuleCountField& field : moduleCountFields)
        this->*field.value += other.*field.value;
    return *this;
}
