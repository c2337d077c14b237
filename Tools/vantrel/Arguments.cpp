#include "Tools/vantrel/Arguments.hpp"

#include "Tools/vantrel/ArgumentError.hpp"
#include "Tools/vantrel/InstantArgument.hpp"
#include "VantrelCore/Model/AreaColorPalette.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <algorithm>
#include <cctype>
#include <unicode/utf8.h>

namespace vantrel::cli {
namespace {

constexpr std::string_view dayForms = "expected YYYY-MM-DD, today, tomorrow or yesterday";

std::string lowercased(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  return lower;
}

std::optional<CalendarDate> relativeDay(std::string_view text, const CalendarDate& today) {
  const auto word = lowercased(text);
  if (word == "today") {
    return today;
  }
  if (word == "tomorrow") {
    return today.adding(1);
  }
  if (word == "yesterday") {
    return today.adding(-1);
  }
  return std::nullopt;
}

/// A character that would break a one-line list or move the cursor: C0, DEL, C1, the line and paragraph
/// separators.
bool breaksTheLine(UChar32 character) {
  return character < 0x20 || (character >= 0x7F && character <= 0x9F) || character == 0x2028 ||
         character == 0x2029;
}

} // namespace

CalendarDate parseDay(std::string_view text, std::string_view argument, const CalendarDate& today) {
  if (const auto day = relativeDay(text, today)) {
    return *day;
  }
  if (const auto day = CalendarDate::parse(text)) {
    return *day;
  }
  throw ArgumentError(argument, text, dayForms);
}

std::optional<CalendarDate> parseDayOrNone(std::string_view text, std::string_view argument,
                                           const CalendarDate& today) {
  if (lowercased(text) == "none") {
    return std::nullopt;
  }
  if (const auto day = relativeDay(text, today)) {
    return *day;
  }
  if (const auto day = CalendarDate::parse(text)) {
    return *day;
  }
  throw ArgumentError(argument, text, "expected YYYY-MM-DD, today, tomorrow, yesterday or none");
}

std::string parseTimeOfDay(std::string_view text, std::string_view argument) {
  const auto colon = text.find(':');
  const auto digits = [](std::string_view part) {
    return std::ranges::all_of(part, [](char c) { return c >= '0' && c <= '9'; });
  };
  if (colon == std::string_view::npos || colon < 1 || colon > 2 || text.size() != colon + 3 ||
      !digits(text.substr(0, colon)) || !digits(text.substr(colon + 1))) {
    throw ArgumentError(argument, text, "expected a time of day H:MM or HH:MM, 24-hour (09:00, 13:30)");
  }
  const int hour = std::stoi(std::string(text.substr(0, colon)));
  const int minute = std::stoi(std::string(text.substr(colon + 1)));
  if (hour > 23 || minute > 59) {
    throw ArgumentError(argument, text, "expected a time of day from 00:00 to 23:59");
  }
  std::string normalised =
      (hour < 10 ? "0" : "") + std::to_string(hour) + ":" + (minute < 10 ? "0" : "") + std::to_string(minute);
  return normalised;
}

std::optional<Date> parseDue(std::string_view text, std::string_view argument, const CalendarDate& today) {
  if (lowercased(text) == "none") {
    return std::nullopt;
  }
  if (const auto day = relativeDay(text, today)) {
    return day->localNoon();
  }
  if (text.size() == std::string_view("YYYY-MM-DD").size()) {
    if (const auto day = CalendarDate::parse(text)) {
      return day->localNoon();
    }
  }
  if (text.size() > std::string_view("YYYY-MM-DD").size()) {
    return parseInstantArgument(text, argument);
  }
  throw ArgumentError(argument, text,
                      "expected a day (YYYY-MM-DD, today, tomorrow), an instant YYYY-MM-DDTHH:MM with an "
                      "optional Z or ±HH:MM offset, or none");
}

std::string parseTitle(std::string_view text, std::string_view argument) {
  if (firstInvalidUTF8Byte(text)) {
    throw ArgumentError(argument, text, "expected UTF-8 text");
  }
  const auto trimmed = trimmingWhiteSpaceAndNewlines(text);
  if (trimmed.empty()) {
    throw ArgumentError(argument, text, "expected some text; it is empty or blank");
  }
  std::size_t characters = 0;
  for (std::size_t index = 0; index < trimmed.size();) {
    UChar32 character = 0;
    U8_NEXT_UNSAFE(reinterpret_cast<const std::uint8_t*>(trimmed.data()), index, character);
    if (breaksTheLine(character)) {
      throw ArgumentError(argument, text, "expected one line of text, without control characters");
    }
    ++characters;
  }
  if (characters > maximumTitleLength) {
    throw ArgumentError(argument, text.substr(0, 40),
                        "is too long: at most " + std::to_string(maximumTitleLength) + " characters");
  }
  return std::string(trimmed);
}

std::string parseColor(std::string_view text, std::string_view argument) {
  auto color = lowercased(text);
  const bool hex =
      color.size() == 7 && color[0] == '#' &&
      std::all_of(color.begin() + 1, color.end(), [](unsigned char c) { return std::isxdigit(c); });
  if (hex || std::ranges::find(areaColorPalette, color) != areaColorPalette.end()) {
    return color;
  }
  std::string names;
  for (const auto name : areaColorPalette) {
    names += (names.empty() ? "" : ", ") + std::string(name);
  }
  throw ArgumentError(argument, text, "expected #RRGGBB or one of " + names);
}

bool parseBoolean(std::string_view text, std::string_view argument) {
  const auto word = lowercased(text);
  if (word == "true" || word == "yes" || word == "on") {
    return true;
  }
  if (word == "false" || word == "no" || word == "off") {
    return false;
  }
  throw ArgumentError(argument, text, "expected true or false");
}

} // namespace vantrel::cli
