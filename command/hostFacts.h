#pragma once

#include <QString>

#include <optional>

/** The computer that a program runs on. */
struct HostFacts
{
    QString name;
    QString kernel;  ///< its release
    QString machine; ///< such as "x86_64"
};

/** Nothing when the system does not tell. */
std::optional<HostFacts> hostFacts();
