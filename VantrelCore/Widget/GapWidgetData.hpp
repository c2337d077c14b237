#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vantrel {

/// What the widget needs of the cache snapshot for one day: the day's gaps and, for the tasks planned
/// into them, the records that list and order them.
///
/// read() takes it from the snapshot's text without decoding the whole file: one pass checks every record
/// as the planner's decode does, without building it, and notes where the records of the day stand; only
/// the records kept are decoded. A large account's snapshot is therefore read in a fraction of a full
/// decode's time and memory, and a file the planner would refuse is refused here too.
struct GapWidgetData {
  std::string currentUserRef{};
  /// The day's gaps, in no set order.
  std::vector<GapRecord> gaps{};
  /// The current user's schedules that plan a top-level task on the day into the time of one of its
  /// gaps, by task.
  GapScheduling::ScheduleByTask schedules{};
  /// Those tasks, and their subtasks.
  GapScheduling::Records<TaskRecord> tasks{};
  GapScheduling::Records<AreaRecord> areas{};
  /// The current user's placements of the projects those tasks live in, by project (the smallest record
  /// name when there are several).
  std::unordered_map<std::string, UserProjectPlacementRecord> placements{};
  /// The projects of those tasks that the snapshot holds; a project placed but not held is one shared
  /// with the user, whose records live in the shared store.
  std::unordered_set<std::string> heldProjects{};

  /// Throws DecodingError wherever CloudKitCacheSnapshot::decodeJSON() does: bad JSON anywhere, a
  /// top-level value of the wrong kind, a record of any map that does not decode or is filed under another
  /// name than its own.
  static GapWidgetData read(std::string_view snapshotText, const CalendarDate& day);
};

} // namespace vantrel
