#pragma once

#include <QMetaType>
#include <QString>

/** The settings of one run. The engine does not check the ranges given here. */
struct TestConfig
{
    int packetsPerSecond = 10; ///< 1 to 1000; the timing decides how exactly it is kept
    int minDataSize = 1;       ///< bytes, 0 to 124 and no more than `maxDataSize`
    int maxDataSize = 124;     ///< bytes, 0 to 124; a payload always has at least 8
    int timeoutMs = 500;       ///< 50 to 5000; a ping older than this is given up
    int durationSec = 0;       ///< 0 to 3600; 0 runs until it is stopped
    QString csvFilePath{};     ///< path of the run's event file; not used by the engine
};
Q_DECLARE_METATYPE(TestConfig)
