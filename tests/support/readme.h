#pragma once

#include <QStringList>

/** The rows of the table of README.md that has this heading; empty when there is none. */
QStringList readmeTable(const QString& heading);
