#pragma once

#include <QString>

#include <cstdio>
#include <cstdlib>

/** Ends the process with `what` on one line of standard error; a fuzzer keeps the input then. */
[[noreturn]] inline void disagree(const QString& what)
{
    std::fprintf(stderr, "disagreement: %s\n", qUtf8Printable(what));
    std::abort();
}
