#pragma once

#include <QByteArray>

/**
 * Once, first of all in a program: opens standard streams that are missing, so that no file or port
 * is taken for one, and makes a reader that leaves and a limit on file sizes write errors like any
 * other.
 */
void prepareStandardStreams();

/** Writes all of `text` there and then; false with `errno` set when that failed. */
bool printOnStandardOutput(const QByteArray& text);
