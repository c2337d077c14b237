#include "VantrelCore/Planning/GapEndDerivation.hpp"

#include "VantrelCore/Planning/CalendarGapEngine.hpp"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

namespace vantrel {
namespace {

/// A whole decimal integer with an optional sign, nothing else around it.
std::optional<int> decimal(std::string_view text) {
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
      return std::nullopt;
    }
  }
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

std::vector<std::string_view> nonEmptyPieces(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    const auto at = text.find(separator);
    if (const auto piece = text.substr(0, at); !piece.empty()) {
      pieces.push_back(piece);
    }
    text = at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
  }
  return pieces;
}

} // namespace

std::optional<std::pair<int, int>> GapEndDerivation::startClock(const GapRecord& gap) {
  const auto pieces = nonEmptyPieces(gap.time, ':');
  if (pieces.size() != 2) {
    return std::nullopt;
  }
  const auto hour = decimal(pieces[0]);
  const auto minute = decimal(pieces[1]);
  if (!hour || !minute || *hour < 0 || *hour > 23 || *minute < 0 || *minute > 59) {
    return std::nullopt;
  }
  return std::pair(*hour, *minute);
}

std::optional<Date> GapEndDerivation::startDate(const GapRecord& gap, const CalendarDate& day) {
  const auto clock = startClock(gap);
  return clock ? day.localTime(clock->first, clock->second) : std::nullopt;
}

std::optional<CalendarEvent> GapEndDerivation::containingEvent(const GapRecord& gap, const CalendarDate& day,
                                                               std::span<const CalendarEvent> events) {
  const auto start = startDate(gap, day);
  if (!start) {
    return std::nullopt;
  }
  const auto* event = CalendarGapEngine::containingEvent(*start, events);
  return event ? std::optional(*event) : std::nullopt;
}

std::optional<TaskGapEnd> GapEndDerivation::info(const GapRecord& gap, const CalendarDate& day,
                                                 std::span<const GapRecord> allGaps,
                                                 std::span<const CalendarEvent> events,
                                                 const CalendarGapPreferences& preferences) {
  const auto start = startDate(gap, day);
  if (!start) {
    return std::nullopt;
  }
  std::vector<Date> otherStarts;
  for (const auto& other : allGaps) {
    if (other.recordName != gap.recordName) {
      if (const auto otherStart = startDate(other, day)) {
        otherStarts.push_back(*otherStart);
      }
    }
  }
  return CalendarGapEngine::endTime(*start, day, events, otherStarts, preferences.dayStartHour(),
                                    preferences.dayEndHour());
}

std::optional<Date> GapEndDerivation::currentUntil(const GapRecord& gap, const CalendarDate& day,
                                                   std::span<const GapRecord> allGaps,
                                                   std::span<const CalendarEvent> events,
                                                   const CalendarGapPreferences& preferences) {
  const auto start = startDate(gap, day);
  if (!start) {
    return std::nullopt;
  }
  if (const auto derived = info(gap, day, allGaps, events, preferences); derived && derived->end) {
    return derived->end;
  }
  const auto midnight = day.localTime(0);
  if (!midnight) {
    return std::nullopt;
  }
  // Hours of elapsed time from midnight, as the day start is reckoned here, and a calendar day to the
  // next midnight.
  const Date dayStart = midnight->adding(double(preferences.dayStartHour()) * 3600);
  if (*start < dayStart) {
    return dayStart;
  }
  return day.adding(1).localTime(0);
}

} // namespace vantrel
