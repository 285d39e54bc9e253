#pragma once

#include "simulator/ModuleFaults.h"

#include <QString>
#include <QStringList>

/** The command-line settings of packetbrask-module. */
struct ModuleOptions
{
    enum class Outcome { Run, Help, Error };

    Outcome outcome = Outcome::Run;
    QString message; ///< the help, or a complaint in one line
    ModuleFaults faults;
    QString linkPath;    ///< empty: no link
    QString summaryPath; ///< empty: no summary
    QString ledgerPath;  ///< empty: no ledger
};

/**
 * Reads `arguments`, the program's name first. If an option is given twice, the last one counts.
 */
ModuleOptions parseModuleOptions(const QStringList& arguments);
