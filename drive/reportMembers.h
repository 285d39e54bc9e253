#pragma once

#include "command/hostFacts.h"
#include "port/LineErrors.h"
#include "port/portAdapter.h"

#include <QJsonObject>
#include <QMap>

/** Members that several kinds of report have; docs/runner.md tells their names and units. */

/** `name`, `kernel` and `machine`; null for nothing. */
QJsonValue toJson(const std::optional<HostFacts>& host);

/**
 * `driver`, `vendorId`, `productId`, `serialNumber`, `product` and `latencyTimerMs`, each null
 * where unknown; null as a whole for no adapter.
 */
QJsonValue toJson(const std::optional<PortAdapter>& adapter);

/**
 * `framing`, `parity`, `overrun`, `break` and `bufferOverrun`, each null where unknown; null as a
 * whole for nothing.
 */
QJsonValue toJson(const std::optional<KnownLineErrors>& errors);

/** Each tag as a member. */
QJsonObject toJson(const QMap<QString, QString>& tags);
