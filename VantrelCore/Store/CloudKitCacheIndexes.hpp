#pragma once

#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"

#include <set>
#include <string>
#include <string_view>
#include <unicode/timezone.h>
#include <unordered_map>
#include <unordered_set>

namespace vantrel {

struct CloudKitCacheSnapshot;

/// Record names in a stable order.
using RecordNameSet = std::set<std::string, std::less<>>;
/// From one record name (a home, a parent, an area, a day text) to the records that belong to it.
/// Keys with no records are absent.
using RecordNameIndex = std::unordered_map<std::string, RecordNameSet>;

/// What the screens and the planner ask of the cache, derived from its records. Where the data holds
/// several of the current user's placements of one project, or schedules of one task (only damaged data
/// can), the one with the smallest record name counts.
struct CloudKitCacheIndexes {
  /// Task (or subtask) to the area it finally belongs to: its home when that is an area, otherwise the
  /// area of the current user's placement of its project. Absent for a project the user has not placed.
  std::unordered_map<std::string, std::string> taskAreaRef{};
  /// Home (project or area) to its top-level tasks.
  RecordNameIndex tasksByHome{};
  /// Parent task to its subtasks.
  RecordNameIndex tasksByParent{};
  /// Area to the projects the current user placed in it.
  RecordNameIndex projectsInArea{};
  /// Projects the current user placed that are not among the user's own projects: they live in a zone
  /// someone shared.
  std::unordered_set<std::string> sharedProjectRefs{};
  /// Task to the current user's schedule of it.
  std::unordered_map<std::string, UserTaskScheduleRecord> myTaskSchedules{};
  /// Day text ("yyyy-mm-dd", in the index's zone) to the tasks the current user planned on that day.
  RecordNameIndex myTaskIDsByDay{};
  /// Day text, exactly as the gaps store it, to the gaps of that day.
  RecordNameIndex gapIDsByDay{};
  // What hangs on a record, for the writes that must find it without walking every record: a project's
  // headers and everyone's placements of it, an area's headers (every user's), a header's foldings.
  RecordNameIndex sectionsByProject{};
  RecordNameIndex placementsByProject{};
  RecordNameIndex areaSectionsByArea{};
  RecordNameIndex sectionStatesBySection{};

  /// Everything computed afresh from `data`, the way the incremental upkeep must agree with.
  static CloudKitCacheIndexes build(const CloudKitCacheSnapshot& data, const icu::TimeZone& dayIndexTimeZone);

  friend bool operator==(const CloudKitCacheIndexes&, const CloudKitCacheIndexes&) = default;
};

} // namespace vantrel
