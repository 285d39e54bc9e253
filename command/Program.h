#pragma once

#include <QByteArray>
#include <QString>

/**
 * Once, first of all in a program: opens standard streams that are missing, so that no file or port
 * is taken for one, and makes a reader that leaves and a limit on file sizes write errors like any
 * other.
 */
void prepareStandardStreams();

/** Writes all of `text` there and then. Returns what went wrong, in one line; empty: nothing. */
QString printOnStandardOutput(const QByteArray& text);
