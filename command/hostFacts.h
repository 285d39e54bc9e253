#pragma once

#include <QJsonValue>

/**
 * The computer that this runs on: an object with its `name`, the release of its `kernel` and its
 * `machine`, such as "x86_64". Null when the system does not tell.
 */
QJsonValue hostFacts();
