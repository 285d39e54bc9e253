#pragma once

#include <QMetaType>
#include <QString>

/** The settings of one run. The engine trusts them to lie in the ranges given here. */
struct TestConfig
{
    int packetsPerSecond = 10; ///< 1 to 1000; how closely it is kept is the timing's affair
    int minDataSize = 1;       ///< bytes, 0 to 124 and no more than `maxDataSize`
    int maxDataSize = 124;     ///< bytes, 0 to 124; a payload has 8 at the least all the same
    int timeoutMs = 500;       ///< 50 to 5000; a ping older than this is given up
    int durationSec = 0;       ///< 0 to 3600; 0 runs until it is stopped
    QString csvFilePath{};     ///< event file of the run; carried along, never read by the engine
};
Q_DECLARE_METATYPE(TestConfig)
