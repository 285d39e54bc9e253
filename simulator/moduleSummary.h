#pragma once

#include <QString>

class SimulatedModule;

/**
 * Writes what has happened to `module` as a JSON object to the file `path`, which is complete or
 * as it was before. False with the reason in `errorText`. docs/simulator.md has the keys. Only on
 * the module's thread.
 */
bool writeModuleSummary(const SimulatedModule& module, const QString& path, QString& errorText);
