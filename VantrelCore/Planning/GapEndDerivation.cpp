#include "VantrelCore/Planning/GapEndDerivation.hpp"

#include "VantrelCore/Planning/CalendarGapEngine.hpp"

#include <limits>
#include <vector>

namespace vantrel {
std::optional<std::pair<int, int>> GapEndDerivation::startClock(const GapRecord& gap) {
  const auto minutes = gap.startMinutes();
  return minutes ? std::optional(std::pair(*minutes / 60, *minutes % 60)) : std::nullopt;
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

namespace {

/// Until when the gap starting at `start`, whose derived end is `derived`, is current. One that nothing
/// ends is current until the day's start when it starts before it, else until the next midnight, but never
/// past the start of a later gap: the gap that has begun last is the one the user is in.
std::optional<Date> currentUntilOf(Date start, const std::optional<TaskGapEnd>& derived,
                                   const CalendarDate& day, std::span<const Date> otherStarts,
                                   const CalendarGapPreferences& preferences) {
  if (derived && derived->end) {
    return derived->end;
  }
  // The day starts at its hour on the clock, as the planning window does: on the days the clocks change
  // that is not the same number of hours after midnight.
  const auto hour = preferences.dayStartHour();
  const auto dayStart = hour < std::numeric_limits<int>::min() || hour > std::numeric_limits<int>::max()
                            ? std::nullopt
                            : day.localTime(int(hour));
  const auto nextMidnight = day.adding(1).localTime(0);
  if (!dayStart || !nextMidnight) {
    return std::nullopt;
  }
  Date until = start < *dayStart ? *dayStart : *nextMidnight;
  for (const Date other : otherStarts) {
    if (start < other && other < until) {
      until = other;
    }
  }
  return until;
}

std::optional<TaskGapEnd> endTimeOf(Date start, const CalendarDate& day, std::span<const Date> otherStarts,
                                    std::span<const CalendarEvent> events,
                                    const CalendarGapPreferences& preferences) {
  return CalendarGapEngine::endTime(start, day, events, otherStarts, preferences.dayStartHour(),
                                    preferences.dayEndHour());
}

/// The starts of the gaps other than `gap` (by record name) among `starts`, which follow `allGaps`.
std::vector<Date> otherStartsOf(const GapRecord& gap, std::span<const GapRecord> allGaps,
                                std::span<const std::optional<Date>> starts) {
  std::vector<Date> others;
  for (std::size_t index = 0; index < allGaps.size(); ++index) {
    if (allGaps[index].recordName != gap.recordName && starts[index]) {
      others.push_back(*starts[index]);
    }
  }
  return others;
}

std::vector<std::optional<Date>> startsOf(std::span<const GapRecord> allGaps, const CalendarDate& day) {
  std::vector<std::optional<Date>> starts;
  for (const auto& gap : allGaps) {
    starts.push_back(GapEndDerivation::startDate(gap, day));
  }
  return starts;
}

} // namespace

std::optional<TaskGapEnd> GapEndDerivation::info(const GapRecord& gap, const CalendarDate& day,
                                                 std::span<const GapRecord> allGaps,
                                                 std::span<const CalendarEvent> events,
                                                 const CalendarGapPreferences& preferences) {
  const auto start = startDate(gap, day);
  if (!start) {
    return std::nullopt;
  }
  return endTimeOf(*start, day, otherStartsOf(gap, allGaps, startsOf(allGaps, day)), events, preferences);
}

std::optional<Date> GapEndDerivation::currentUntil(const GapRecord& gap, const CalendarDate& day,
                                                   std::span<const GapRecord> allGaps,
                                                   std::span<const CalendarEvent> events,
                                                   const CalendarGapPreferences& preferences) {
  const auto start = startDate(gap, day);
  if (!start) {
    return std::nullopt;
  }
  const auto others = otherStartsOf(gap, allGaps, startsOf(allGaps, day));
  return currentUntilOf(*start, endTimeOf(*start, day, others, events, preferences), day, others,
                        preferences);
}

std::vector<GapEndDerivation::Ends> GapEndDerivation::endsOfEach(std::span<const GapRecord> allGaps,
                                                                 const CalendarDate& day,
                                                                 std::span<const CalendarEvent> events,
                                                                 const CalendarGapPreferences& preferences) {
  const auto starts = startsOf(allGaps, day);
  std::vector<Ends> ends;
  for (std::size_t index = 0; index < allGaps.size(); ++index) {
    Ends gapEnds{.start = starts[index]};
    if (gapEnds.start) {
      const auto others = otherStartsOf(allGaps[index], allGaps, starts);
      gapEnds.end = endTimeOf(*gapEnds.start, day, others, events, preferences);
      gapEnds.currentUntil = currentUntilOf(*gapEnds.start, gapEnds.end, day, others, preferences);
    }
    ends.push_back(std::move(gapEnds));
  }
  return ends;
}

} // namespace vantrel
