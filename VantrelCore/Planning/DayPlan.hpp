#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Planning/CalendarEvent.hpp"
#include "VantrelCore/Planning/CalendarGap.hpp"
#include "VantrelCore/Planning/CalendarGapPreferences.hpp"
#include "VantrelCore/Planning/DayRecords.hpp"
#include "VantrelCore/Planning/TaskGapEnd.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

/// One day as the planner sees it: its events, its open time, its gaps in time order with the tasks
/// planned into each (and their subtasks), and the tasks planned on the day without a gap. The today view,
/// the agenda and the widget all show it; computing it in one place keeps them in agreement.
struct DayPlan {
  struct Gap {
    GapRecord record{};
    std::optional<Date> start{};
    std::optional<TaskGapEnd> end{};
    /// Until when the gap counts as the current one: its end, or for an open-ended gap the day's start or
    /// the next midnight, or the start of a later gap when that comes first.
    std::optional<Date> currentUntil{};
    /// The top-level tasks planned into the gap, in the plan's order.
    std::vector<TaskRecord> tasks{};

    bool isCurrentAt(Date instant) const;
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
  static DayPlan of(const CalendarDate& day, const DayRecords& records, std::vector<CalendarEvent> events,
                    const CalendarGapPreferences& windows);

  /// The gap that is current at the instant: it has started and has not stopped being current.
  const Gap* currentGap(Date instant) const;
  /// The first gap that starts after the instant.
  const Gap* nextGap(Date instant) const;
  /// The subtasks of a planned task; empty for a task without any.
  const std::vector<TaskRecord>& subtasksOf(const std::string& task) const;
};

} // namespace vantrel
