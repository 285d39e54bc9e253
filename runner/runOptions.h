#pragma once

#include "drive/DriveOptions.h"
#include "engine/Payload.h"
#include "engine/timing/EngineTiming.h"
#include "engine/timing/TestConfig.h"

#include <QString>
#include <QStringList>

#include <optional>

/** What the command line of packetbrask-run asks for. */
struct RunOptions : DriveOptions
{
    enum class Outcome { Run, ListPorts, CheckPort, ShowText, Error };

    Outcome outcome = Outcome::Run;
    QString message;                      ///< the help, the version, or in one line what is wrong
    TestConfig config;                    ///< `csvFilePath` names the event file; empty: none
    QString pingPath;                     ///< names the ping file; empty: none
    QString junitPath;                    ///< as DriveOptions::reportPath
    double maxLossPercent = 0;            ///< 0 to 100
    std::optional<double> maxLatencyMs{}; ///< of any round trip; none: no limit
    std::optional<double> maxP99Ms{};     ///< of 99 round trips in 100; none: no limit
    double maxLeftOutPercent = 1;         ///< 0 to 100; with TimingKind::Exact only
    TimingKind timing = TimingKind::Exact;
    bool writesScreen = true; ///< false: the module's screen is left alone
    QString payloadName;      ///< as given: a name of Payload::names, or "file:" and a path
    Payload payload{};        ///< made of that
    bool isLoopback = false;  ///< a plug takes the module's place; the screen is left alone
};

/**
 * Reads `arguments`, the program's name first. Of an option given twice, tags excepted, the
 * last one counts.
 */
RunOptions parseRunOptions(const QStringList& arguments);
