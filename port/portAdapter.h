#pragma once

#include <QString>

#include <optional>

/** The hardware behind a port, as the kernel describes it. Unknown texts are empty. */
struct PortAdapter
{
    QString driver;
    QString vendorId;  ///< four hexadecimal digits; USB adapters only
    QString productId; ///< four hexadecimal digits; USB adapters only
    QString serialNumber;
    QString product;                     ///< the adapter's name
    std::optional<int> latencyTimerMs{}; ///< longest delay of received bytes, if any
    QString latencyTimerFile;            ///< file that sets `latencyTimerMs`
    bool suspends = false;               ///< USB: may be suspended when unused
    QString suspendFile;                 ///< file that sets `suspends`
};

/**
 * Returns the adapter behind the device node `path`; follows links. No value if there is none, as
 * for a pseudo-terminal.
 */
std::optional<PortAdapter> portAdapter(const QString& path);
