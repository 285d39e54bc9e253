#pragma once

#include "command/hostFacts.h"
#include "port/LineErrors.h"
#include "port/portAdapter.h"

#include <QJsonObject>
#include <QMap>

/** JSON members that several kinds of report have; docs/runner.md lists their names and units. */

/** Returns an object with `name`, `kernel` and `machine`; null without a value. */
QJsonValue toJson(const std::optional<HostFacts>& host);

/**
 * Returns an object with `driver`, `vendorId`, `productId`, `serialNumber`, `product` and
 * `latencyTimerMs`, each null if unknown. Returns null without an adapter.
 */
QJsonValue toJson(const std::optional<PortAdapter>& adapter);

/**
 * Returns an object with `framing`, `parity`, `overrun`, `break` and `bufferOverrun`, each null if
 * unknown. Returns null without a value.
 */
QJsonValue toJson(const std::optional<KnownLineErrors>& errors);

/** Returns an object with one member per tag. */
QJsonObject toJson(const QMap<QString, QString>& tags);
