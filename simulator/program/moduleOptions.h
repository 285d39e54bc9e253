#pragma once

#include "simulator/ModuleFaults.h"

#include <QString>
#include <QStringList>

/** What the command line of packetbrask-module asks for. */
struct ModuleOptions
{
    enum class Outcome { Run, Help, Error };

    Outcome outcome = Outcome::Run;
    QString message; ///< the help, or in one line what is wrong
    ModuleFaults faults;
    QString linkPath;    ///< empty: no link
    QString summaryPath; ///< empty: no summary
    QString ledgerPath;  ///< empty: no ledger
};

/** Reads `arguments`, the program's name first. Of an option given twice the last one counts. */
ModuleOptions parseModuleOptions(const QStringList& arguments);
