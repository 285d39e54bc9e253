#pragma once

#include <QByteArray>

class SimulatedModule;

/**
 * What has happened to `module`, as a JSON object; docs/simulator.md has the keys. Only on the
 * module's thread.
 */
QByteArray moduleSummary(const SimulatedModule& module);
