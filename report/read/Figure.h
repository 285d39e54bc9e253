#pragma once

#include <optional>

/** A figure for which the report may have no measurement. */
using Figure = std::optional<double>;
