#pragma once

#include <QString>

#include <optional>

/** The computer that a program runs on. */
struct HostFacts
{
    QString name;
    QString kernel;  ///< the kernel's release
    QString machine; ///< such as "x86_64"
};

/** No value when the system does not tell. */
std::optional<HostFacts> hostFacts();
