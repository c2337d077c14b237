#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <string_view>

namespace vantrel::cli {

/// Reads the `--now` argument: "YYYY-MM-DDTHH:MM[:SS[.fff]]" with an optional "Z" or "±HH:MM" offset
/// (a blank may stand for the "T"): a real day of the years 0001-9999, a time of day, an offset of at most
/// ±18:00. Without an offset the time is a wall time in the device zone: one the zone skips is refused, a
/// repeated one means the later instant. Throws ArgumentError naming `argument` ("--now", "--at", "DUE").
Date parseInstantArgument(std::string_view text, std::string_view argument = "--now");

} // namespace vantrel::cli
