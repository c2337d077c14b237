#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Planning/CalendarEvent.hpp"
#include "VantrelCore/Planning/CalendarGap.hpp"
#include "VantrelCore/Planning/CalendarGapPreferences.hpp"
#include "VantrelCore/Planning/TaskGapEnd.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vantrel {

/// The open time of a day between its timed events, and where a gap that starts at an instant ends. Pure:
/// the day window is the day's `dayStartHour`:00 to `dayEndHour`:00 on the device zone's clock, and
/// all-day events take no part.
class CalendarGapEngine {
public:
  CalendarGapEngine() = delete;

  /// The stretches of at least `minimumMinutes` inside the day window that no timed event covers, in time
  /// order. Empty when the window is. The sweep over the events sorted by start stops at the first event
  /// that has no length inside the window: an event wholly before the window hides every later one.
  static std::vector<CalendarGap> compute(const CalendarDate& day, std::span<const CalendarEvent> events,
                                          std::int64_t dayStartHour, std::int64_t dayEndHour,
                                          std::int64_t minimumMinutes);
  /// compute() with the user's window and minimum.
  static std::vector<CalendarGap> openWindows(const CalendarDate& day, std::span<const CalendarEvent> events,
                                              const CalendarGapPreferences& preferences);
  /// The end of a gap starting at `start`: the end of the timed event it starts in; otherwise the first
  /// event start or other gap start after it in the same part of the day (before, inside or after the
  /// window), or the window's end for a start inside it. None when the window is empty.
  /// The first timed event, by start, that `instant` falls in (an event's end is not in it); null when none.
  static const CalendarEvent* containingEvent(Date instant, std::span<const CalendarEvent> events);
  static std::optional<TaskGapEnd> endTime(Date start, const CalendarDate& day,
                                           std::span<const CalendarEvent> events,
                                           std::span<const Date> otherTaskGapStarts,
                                           std::int64_t dayStartHour, std::int64_t dayEndHour);
};

} // namespace vantrel
