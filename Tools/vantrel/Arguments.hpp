#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace vantrel::cli {

/// The parsers of what people type, one per kind, used by every command. Each throws ArgumentError
/// naming `argument` (as the help shows it: "DAY", "--on") and the forms it accepts.

/// YYYY-MM-DD (a real day of the years 0001 to 9999), "today", "tomorrow" or "yesterday".
CalendarDate parseDay(std::string_view text, std::string_view argument, const CalendarDate& today);
/// A day, or "none".
std::optional<CalendarDate> parseDayOrNone(std::string_view text, std::string_view argument,
                                           const CalendarDate& today);
/// A time of day, H:MM or HH:MM on the 24-hour clock, normalised to "HH:MM" as gaps store it.
std::string parseTimeOfDay(std::string_view text, std::string_view argument);
/// A deadline: "none", a day (its noon in the device zone) or an instant.
std::optional<Date> parseDue(std::string_view text, std::string_view argument, const CalendarDate& today);
/// A title, name or label: trimmed, then non-empty, at most `maximumTitleLength` characters, without
/// control characters or line breaks (a list shows one item per line).
std::string parseTitle(std::string_view text, std::string_view argument);
/// An area colour: a name of the palette or #RRGGBB, answered in lower case.
std::string parseColor(std::string_view text, std::string_view argument);
/// true/false, yes/no, on/off.
bool parseBoolean(std::string_view text, std::string_view argument);

inline constexpr std::size_t maximumTitleLength = 500;

} // namespace vantrel::cli
