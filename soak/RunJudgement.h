#pragma once

#include "simulator/ModuleCounts.h"
#include "soak/AnswerForecast.h"
#include "soak/RunTally.h"

#include <QStringList>

#include <array>

/** How far the accounts of the engine and of the module can be held against each other. */
enum class Account {
    Exact,        ///< every frame that the module sent is one that the engine took in
    Cut,          ///< the line was unplugged, or the module stalled
    Late,         ///< answers were still on their way when the engine last looked, or pings were
    RingOverflow, ///< more waited at a look than the receive ring is sure to take
    ChanceFrame,  ///< bytes that happened to be a correct frame hid others
};
inline constexpr std::array accountNames{"exact", "line cut", "answers late", "ring overflow",
                                         "chance frame"};

/** All that is known of one run. */
struct RunEvidence
{
    RunTally tally;
    ModuleCounts module;     ///< what the run added to the module's counts
    AnswerForecast forecast; ///< for the pings that the module received in the run
    bool lineWasCut = false;
    /** Every ping had arrived and every answer left before the engine looked for the last time. */
    bool answeredInTime = false;
    int peakBytes = 0; ///< most bytes that waited when the engine came to read
    /** Garbage, damaged frames or frames in parts: bytes that may form a frame by chance. */
    bool chanceIsLikely = false;
};

/** The verdict on one run. */
struct RunJudgement
{
    QStringList disagreements; ///< empty: nothing is wrong
    Account account = Account::Exact;
    quint64 framesUnread = 0; ///< excused ones; 0 in an exact account
};

/**
 * Holds the engine's account of a run against the module's. What excuses a difference is never
 * assumed: it must have been seen. The counters must add up whatever happened.
 */
RunJudgement judgeRun(const RunEvidence& evidence);

/** What is wrong with the event file `path` of a run with that tally; empty: nothing. */
QStringList judgeEventFile(const QString& path, const RunTally& tally);
