#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Planning/CalendarEvent.hpp"
#include "VantrelCore/Planning/CalendarGap.hpp"
#include "VantrelCore/Planning/CalendarGapPreferences.hpp"
#include "VantrelCore/Planning/TaskGapEnd.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

/// One day as the planner sees it: its events, its open time, its gaps in time order with the tasks
/// planned into each (and their subtasks), the gap the clock is in, and the tasks planned on the day
/// without a gap. The today view and the agenda show it; computing it here keeps them in agreement.
struct DayPlan {
  struct Gap {
    GapRecord record{};
    std::optional<Date> start{};
    std::optional<TaskGapEnd> end{};
    std::vector<TaskRecord> tasks{};
    /// The gap the clock is in: the last one that has started, until it ends.
    bool current = false;
  };

  CalendarDate day{};
  std::vector<CalendarEvent> events{};
  std::vector<CalendarGap> openWindows{};
  std::vector<Gap> gaps{};
  /// A task whose gap time names no gap of the day is still planned on the day.
  std::vector<TaskRecord> withoutGap{};
  /// The subtasks of the planned tasks, in their order, by parent.
  std::map<std::string, std::vector<TaskRecord>> subtasks{};

  /// `events` are the day's events from the calendars the planner reads, in any order.
  static DayPlan of(const CalendarDate& day, const CloudKitCache& cache, std::vector<CalendarEvent> events,
                    const CalendarGapPreferences& windows, Date now);
};

} // namespace vantrel
