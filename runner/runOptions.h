#pragma once

#include "engine/timing/TestConfig.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

/** What the command line of packetbrask-run asks for. */
struct RunOptions
{
    enum class Outcome { Run, ListPorts, CheckPort, ShowText, Error };

    /** Which of the engine's timings drives the run. */
    enum class Timing { Exact, Window };

    Outcome outcome = Outcome::Run;
    QString message; ///< the help, the version, or in one line what is wrong
    QString port;    ///< path of the device
    int baudRate = 115200;
    TestConfig config;                    ///< `csvFilePath` names the event file; empty: none
    QString pingPath;                     ///< names the ping file; empty: none
    QString reportPath;                   ///< "-": standard output; empty: no report
    QString junitPath;                    ///< likewise
    double maxLossPercent = 0;            ///< 0 to 100
    std::optional<double> maxLatencyMs{}; ///< of any round trip; none: no limit
    std::optional<double> maxP99Ms{};     ///< of 99 round trips in 100; none: no limit
    double maxLeftOutPercent = 1;         ///< 0 to 100; with Timing::Exact only
    Timing timing = Timing::Exact;
    bool writesScreen = true;    ///< false: the module's screen is left alone
    QMap<QString, QString> tags; ///< what the report is to be found by; no key is empty
    bool quiet = false;
};

/**
 * Reads `arguments`, the program's name first. Of an option given twice, tags excepted, the
 * last one counts.
 */
RunOptions parseRunOptions(const QStringList& arguments);
