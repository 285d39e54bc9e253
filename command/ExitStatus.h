#pragma once

/** What packetbrask-run ends with; docs/runner.md tells which one counts when several apply. */
enum class ExitStatus {
    Passed = 0,
    LimitExceeded = 1, ///< also a run without a ping or without an echo, or --check found something
    WrongUsage = 2,
    PortNotOpened = 3,
    LineLost = 4,
    OutputFailed = 5, ///< the event file or the report is missing or incomplete
    Disturbed = 6,    ///< this computer left out too many pings
};
