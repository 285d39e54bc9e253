#pragma once

#include "simulator/ModuleThread.h"

/** Faults of all kinds that leave the module's counts comparable with a run's. */
ModuleFaults manyFaults();

/**
 * Judges the figures of a run by what the module counted; empty when they agree. `log` holds the
 * engine's lines. Random bytes may by chance be a correct frame, which can swallow the start of an
 * echo; such a frame has a random command and so shows as a line that no answer accounts for, and
 * each of them excuses one echo. For that, no error reply may be sent twice.
 */
QString disagreement(ModuleThread& module, quint64 sent, quint64 received, quint64 lost,
                     const QString& log);
