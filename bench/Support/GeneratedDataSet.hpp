#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/AreaSectionRecord.hpp"
#include "VantrelCore/Model/DayRecord.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/InboxItemRecord.hpp"
#include "VantrelCore/Model/ProjectRecord.hpp"
#include "VantrelCore/Model/ProjectSectionRecord.hpp"
#include "VantrelCore/Model/SchemaVersionRecord.hpp"
#include "VantrelCore/Model/SharingUserNameRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Model/UserProjectSectionStateRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>

namespace vantrel::bench {

template <class Record> using RecordMap = std::unordered_map<std::string, Record>;

/// Every record of one user's data, keyed by record name, shaped as the cache snapshot is.
struct GeneratedDataSet {
  std::int64_t snapshotVersion = 1;
  std::string currentUserRef;
  RecordMap<AreaRecord> areas;
  RecordMap<ProjectRecord> projects;
  RecordMap<TaskRecord> tasks;
  RecordMap<ProjectSectionRecord> projectSections;
  RecordMap<AreaSectionRecord> areaSections;
  RecordMap<DayRecord> days;
  RecordMap<GapRecord> gaps;
  RecordMap<InboxItemRecord> inbox;
  std::optional<SchemaVersionRecord> schemaVersion;
  RecordMap<UserProjectPlacementRecord> userProjectPlacements;
  RecordMap<UserTaskScheduleRecord> userTaskSchedules;
  RecordMap<UserProjectSectionStateRecord> userProjectSectionStates;
  RecordMap<SharingUserNameRecord> sharingUserNames;

  /// The record maps with their snapshot keys, in snapshot order.
  static constexpr auto maps() {
    return std::tuple{std::pair{"areas", &GeneratedDataSet::areas},
                      std::pair{"projects", &GeneratedDataSet::projects},
                      std::pair{"tasks", &GeneratedDataSet::tasks},
                      std::pair{"projectSections", &GeneratedDataSet::projectSections},
                      std::pair{"areaSections", &GeneratedDataSet::areaSections},
                      std::pair{"days", &GeneratedDataSet::days},
                      std::pair{"gaps", &GeneratedDataSet::gaps},
                      std::pair{"inbox", &GeneratedDataSet::inbox},
                      std::pair{"userProjectPlacements", &GeneratedDataSet::userProjectPlacements},
                      std::pair{"userTaskSchedules", &GeneratedDataSet::userTaskSchedules},
                      std::pair{"userProjectSectionStates", &GeneratedDataSet::userProjectSectionStates},
                      std::pair{"sharingUserNames", &GeneratedDataSet::sharingUserNames}};
  }

  std::size_t recordCount() const;
  friend bool operator==(const GeneratedDataSet&, const GeneratedDataSet&) = default;
};

/// A believable data set of `taskCount` tasks with about three records per task in all: subtasks,
/// schedules, sections, projects and their placements, days with gaps, inbox items. The same seed gives
/// the same data.
GeneratedDataSet generateDataSet(std::size_t taskCount, std::uint32_t seed = 20261122);

} // namespace vantrel::bench
