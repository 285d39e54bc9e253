#pragma once

#include "drive/DriveOptions.h"
#include "engine/Payload.h"
#include "engine/timing/EngineTiming.h"
#include "engine/timing/TestConfig.h"

#include <QString>
#include <QStringList>

#include <optional>

/** The command-line settings of packetbrask-run. */
struct RunOptions : DriveOptions
{
    enum class Outcome { Run, ListPorts, CheckPort, ShowText, Error };

    Outcome outcome = Outcome::Run;
    QString message;                      ///< the help, the version, or a complaint in one line
    TestConfig config;                    ///< `csvFilePath` is the event file; empty: none
    QString pingPath;                     ///< the ping file; empty: none
    QString junitPath;                    ///< the JUnit report; as DriveOptions::reportPath
    double maxLossPercent = 0;            ///< 0 to 100
    std::optional<double> maxLatencyMs{}; ///< limit of the longest round trip; no value: no limit
    std::optional<double> maxP99Ms{};     ///< limit of the 99th percentile; no value: no limit
    double maxLeftOutPercent = 1;         ///< 0 to 100; with TimingKind::Exact only
    TimingKind timing = TimingKind::Exact;
    bool writesScreen = true; ///< false: nothing is written on the module's screen
    QString payloadName;      ///< one of Payload::names, or "file:" and a path
    Payload payload{};        ///< made from `payloadName`
    bool isLoopback = false;  ///< a plug replaces the module; `writesScreen` is then false
};

/**
 * Reads `arguments`, the program's name first. If an option other than --tag is given twice, the
 * last one counts.
 */
RunOptions parseRunOptions(const QStringList& arguments);
