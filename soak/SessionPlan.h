#pragma once

#include "engine/TestConfig.h"
#include "simulator/ModuleFaults.h"

#include <QList>

#include <random>

/** How a run ends. */
enum class Ending {
    Duration,
    Stop,
    StopTwice,
    Disconnect,
    UnplugAndStop,
    UnplugAndDisconnect,
    UnplugInFinalWait,
    StallAndStop,
    StallAndDisconnect,
};

/** What is asked of the engine in the middle of a run, which must not take notice. */
enum class Aside { Nothing, Start, Connect, Refresh };

struct RunPlan
{
    TestConfig config;
    Ending ending = Ending::Stop;
    int endingAfterMs = 0;
    /** From the trouble that an ending begins with to the stop, or into the final wait. */
    int troubleMs = 0;
    Aside aside = Aside::Nothing;
    int asideAfterMs = 0; ///< less than `endingAfterMs`
};

/** One module from being plugged in to being pulled out, and what is done with it meanwhile. */
struct SessionPlan
{
    ModuleFaults faults;
    bool tryBeforePlugged = false; ///< connect once while there is no such port
    int baudRate = 0;              ///< what the tool asks for; a pseudo-terminal takes any
    int idleMs = 0;                ///< connected, before the first run
    bool unplugWhileIdle = false;  ///< and what runs follow run on a dead line
    QList<RunPlan> runs;           ///< not empty
};

/** Everything drawn from `generator`, so that equal seeds make equal plans. */
SessionPlan drawSession(std::mt19937_64& generator);
