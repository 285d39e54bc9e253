#pragma once

#include <QJsonValue>
#include <QString>

#include <optional>

/** The hardware behind a port, as the kernel describes it; an empty text is one it does not tell.
 */
struct PortAdapter
{
    QString driver;
    QString vendorId;  ///< four hexadecimal digits, of a USB adapter
    QString productId; ///< likewise
    QString serialNumber;
    QString product; ///< the adapter's name
    std::optional<int>
        latencyTimerMs{};     ///< how long received bytes may be held back, if it does so
    QString latencyTimerFile; ///< where that is set
    bool suspends = false;    ///< USB: may be put to sleep when it is not used
    QString suspendFile;      ///< where that is set
};

/** The adapter behind the device node `path`, links followed; nothing for a pseudo-terminal. */
std::optional<PortAdapter> portAdapter(const QString& path);

/**
 * `driver`, `vendorId`, `productId`, `serialNumber`, `product` and `latencyTimerMs`, each null
 * where unknown; null as a whole for no adapter.
 */
QJsonValue toJson(const std::optional<PortAdapter>& adapter);
