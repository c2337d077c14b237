#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"

#include <string>
#include <unordered_map>
#include <vector>

namespace vantrel {

/// The records one day's plan is made of, however they were read: from the planner's cache, or from the
/// snapshot's text by the widget, which cannot afford a full decode.
struct DayRecords {
  /// The day's gaps, in display order.
  std::vector<GapRecord> gaps{};
  /// The current user's schedules that plan a top-level task on the day, by task.
  GapScheduling::ScheduleByTask schedules{};
  /// Those tasks, and their subtasks.
  GapScheduling::Records<TaskRecord> tasks{};
  GapScheduling::Records<AreaRecord> areas{};
  /// The current user's placements of the projects those tasks live in, by project (the smallest record
  /// name when there are several).
  std::unordered_map<std::string, UserProjectPlacementRecord> placements{};

  friend bool operator==(const DayRecords&, const DayRecords&) = default;
};

} // namespace vantrel
