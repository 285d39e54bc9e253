#pragma once

#include <QString>

#include <optional>

/** The hardware behind a port as the kernel describes it. A text that it does not tell is empty. */
struct PortAdapter
{
    QString driver;
    QString vendorId;  ///< four hexadecimal digits, of a USB adapter
    QString productId; ///< likewise
    QString serialNumber;
    QString product;                     ///< the adapter's name
    std::optional<int> latencyTimerMs{}; ///< longest that received bytes are held back, if they are
    QString latencyTimerFile;            ///< where that is set
    bool suspends = false;               ///< USB: may be put to sleep when it is not used
    QString suspendFile;                 ///< where that is set
};

/** The adapter behind the device node `path`, links followed; nothing for a pseudo-terminal. */
std::optional<PortAdapter> portAdapter(const QString& path);
