#pragma once

#include <QByteArray>

class SimulatedModule;

/**
 * Returns the counts of `module` as a JSON object; docs/simulator.md lists the keys. Call it on the
 * module's thread.
 */
QByteArray moduleSummary(const SimulatedModule& module);
