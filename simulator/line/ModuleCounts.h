#pragma once

#include <QtGlobal>

#include <array>

/**
 * What a simulated module has received and how it has answered.
 *
 * A ping's answer, and each fault in it, is counted when its last byte has been written to the
 * line. So the counts tell what happened, not what was planned. At all times pingsReceived ==
 * echoesIntact + echoesDamaged + dropped + tooFast + overrun + unanswered.
 */
struct ModuleCounts
{
    quint64 pingsReceived = 0;
    quint64 echoesIntact = 0;  ///< pings with a correct echo written; a second copy is not counted
    quint64 echoesDamaged = 0; ///< pings with any other answer
    quint64 dropped = 0;       ///< pings not answered on purpose
    quint64 tooFast = 0;       ///< pings dropped because they came faster than the module accepts
    quint64 overrun = 0; ///< pings whose whole answer was lost because too many bytes were waiting
    quint64 unanswered = 0;     ///< pings whose answer is still delayed or being sent
    quint64 corrupted = 0;      ///< answers with one bit flipped
    quint64 altered = 0;        ///< echoes with a payload byte changed
    quint64 truncated = 0;      ///< echoes with a shortened payload
    quint64 duplicated = 0;     ///< second copies of answers
    quint64 garbage = 0;        ///< sequences of random bytes
    quint64 errorReplies = 0;   ///< error replies to pings
    quint64 reports = 0;        ///< report packets
    quint64 split = 0;          ///< answers sent in two pieces
    quint64 lcdRequests = 0;    ///< requests to clear the screen or to write on it
    quint64 otherRequests = 0;  ///< requests unknown to the module
    quint64 repliesLost = 0;    ///< answers to those two kinds that were lost, as in `overrun`
    quint64 packetsIgnored = 0; ///< correct frames that are not requests

    ModuleCounts& operator+=(const ModuleCounts& other);
};

/** A count and the name under which it is published. */
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
