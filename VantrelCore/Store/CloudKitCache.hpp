#pragma once

#include "VantrelCore/Model/CalendarDayReader.hpp"
#include "VantrelCore/Store/CloudKitCacheIndexes.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unicode/timezone.h>

namespace vantrel {

/// Every record of the signed-in user's data in memory, by record name, with the indexes the screens and
/// the planner read. The store's writes and the sync ingest change it; the user interface only reads it.
///
/// Each upsert or removal keeps the indexes current at a cost that depends on the records it touches
/// (a task's siblings, a project's tasks), never on how many records the cache holds. Changing the user
/// or the day index's zone, and replacing everything, rebuild them.
///
/// Used from the owner thread only.
class CloudKitCache {
public:
  using Snapshot = CloudKitCacheSnapshot;
  using MutationHandler = std::function<void()>;

  /// Empty; the day indexes are computed in the device zone of the moment.
  CloudKitCache();

  const std::string& currentUserRef() const { return data_.currentUserRef; }
  template <class Record> const RecordMap<Record>& records() const { return data_.records<Record>(); }
  const RecordMap<AreaRecord>& areas() const { return data_.areas; }
  const RecordMap<ProjectRecord>& projects() const { return data_.projects; }
  const RecordMap<TaskRecord>& tasks() const { return data_.tasks; }
  const RecordMap<ProjectSectionRecord>& projectSections() const { return data_.projectSections; }
  const RecordMap<AreaSectionRecord>& areaSections() const { return data_.areaSections; }
  const RecordMap<DayRecord>& days() const { return data_.days; }
  const RecordMap<GapRecord>& gaps() const { return data_.gaps; }
  const RecordMap<InboxItemRecord>& inbox() const { return data_.inbox; }
  const std::optional<SchemaVersionRecord>& schemaVersion() const { return data_.schemaVersion; }
  const RecordMap<UserProjectPlacementRecord>& userProjectPlacements() const {
    return data_.userProjectPlacements;
  }
  /// Every user's schedules present in the data.
  const RecordMap<UserTaskScheduleRecord>& userTaskSchedules() const { return data_.userTaskSchedules; }
  const RecordMap<UserProjectSectionStateRecord>& userProjectSectionStates() const {
    return data_.userProjectSectionStates;
  }
  const RecordMap<SharingUserNameRecord>& sharingUserNames() const { return data_.sharingUserNames; }
  std::size_t recordCount() const { return data_.recordCount(); }

  const CloudKitCacheIndexes& indexes() const { return indexes_; }
  const std::unordered_map<std::string, std::string>& taskAreaRef() const { return indexes_.taskAreaRef; }
  const RecordNameIndex& tasksByHome() const { return indexes_.tasksByHome; }
  const RecordNameIndex& tasksByParent() const { return indexes_.tasksByParent; }
  const RecordNameIndex& projectsInArea() const { return indexes_.projectsInArea; }
  const std::unordered_set<std::string>& sharedProjectRefs() const { return indexes_.sharedProjectRefs; }
  const std::unordered_map<std::string, UserTaskScheduleRecord>& myTaskSchedules() const {
    return indexes_.myTaskSchedules;
  }
  const RecordNameIndex& myTaskIDsByDay() const { return indexes_.myTaskIDsByDay; }
  const RecordNameIndex& gapIDsByDay() const { return indexes_.gapIDsByDay; }
  const RecordNameIndex& sectionsByProject() const { return indexes_.sectionsByProject; }
  const RecordNameIndex& placementsByProject() const { return indexes_.placementsByProject; }
  const RecordNameIndex& areaSectionsByArea() const { return indexes_.areaSectionsByArea; }
  const RecordNameIndex& sectionStatesBySection() const { return indexes_.sectionStatesBySection; }
  /// The current user's placement of the project that counts (the smallest name, should there be several);
  /// null when the user has not placed it.
  const UserProjectPlacementRecord* myPlacement(const std::string& project) const;
  /// Every task of a home, subtasks too.
  const RecordNameIndex& allTasksByHome() const { return allTasksByHome_; }
  /// The names `index` holds under `key`; empty when it holds none.
  static const RecordNameSet& namesIn(const RecordNameIndex& index, const std::string& key);
  const icu::TimeZone& dayIndexTimeZone() const { return days_.zone(); }

  /// Counts mutations, so that an observer can tell whether anything changed since it last looked.
  std::int64_t dataVersion() const { return dataVersion_; }
  /// Called after every mutation (the store schedules a snapshot write from it).
  void setOnMutation(MutationHandler handler) { onMutation_ = std::move(handler); }

  /// Adds the record, or replaces the one of the same name.
  template <class Record> void upsert(Record record);
  /// Removes the record of that name; false when there was none (which still counts as a mutation).
  template <class Record> bool remove(std::string_view recordName);
  void setSchemaVersion(std::optional<SchemaVersionRecord> schemaVersion);
  void setCurrentUserRef(std::string userRef);
  void setDayIndexTimeZone(const icu::TimeZone& zone);
  /// All records at once, from a snapshot; the user comes with them, the snapshot's version does not.
  void replaceAll(Snapshot snapshot);
  /// Drops every record; the user stays.
  void removeAll();

  /// A copy of every record, to encode away from the live maps.
  Snapshot snapshot() const;
  /// Calls `visit(record)` with the record of that name, whatever its type; false when there is none.
  template <class Visit> bool visitRecord(std::string_view recordName, Visit&& visit) const {
    return data_.visitRecord(recordName, std::forward<Visit>(visit));
  }
  /// Copies the record of that name (of whatever type, the schema record included) into `target`; false
  /// when the cache holds none.
  bool copyRecord(std::string_view recordName, Snapshot& target) const;
  /// Removes the record of that name, whatever its type; false when there was none.
  bool removeNamed(std::string_view recordName);

  /// While the log is open every change remembers what it replaced, so that rollBack() can put the cache
  /// back as it was when the log opened (and close it). A change of many records that fails half-way
  /// then leaves nothing behind.
  void openRollbackLog();
  void rollBack();
  /// Keeps the changes and forgets what they replaced.
  void closeRollbackLog();

private:
  void rebuildIndexes();
  void mutated();
  /// Remembers the record as it is before its first change while the log is open.
  template <class Record> void remember(const std::string& recordName);
  /// Remembers everything before a change of all records.
  void rememberAll();

  struct RollbackLog {
    /// Records already remembered, by their map and name.
    std::set<std::pair<const void*, std::string>> remembered;
    /// Puts back what the changes replaced, in the reverse order of the changes.
    std::vector<std::function<void(CloudKitCache&)>> undo;
  };

  template <class Record> void reindex(const Record* before, const Record* after);
  void reindex(const TaskRecord* before, const TaskRecord* after);
  void reindex(const ProjectRecord* before, const ProjectRecord* after);
  void reindex(const UserProjectPlacementRecord* before, const UserProjectPlacementRecord* after);
  void reindex(const UserTaskScheduleRecord* before, const UserTaskScheduleRecord* after);
  void reindex(const GapRecord* before, const GapRecord* after);
  void reindex(const ProjectSectionRecord* before, const ProjectSectionRecord* after);
  void reindex(const AreaSectionRecord* before, const AreaSectionRecord* after);
  void reindex(const UserProjectSectionStateRecord* before, const UserProjectSectionStateRecord* after);
  /// Keeps `mine` (the user's own records by the record they are about) current, and refreshes what
  /// hangs on the records the change was and is about.
  template <class Record>
  void reindexMine(const Record* before, const Record* after, std::string Record::*about,
                   RecordNameIndex& mine, void (CloudKitCache::*refresh)(const std::string&));
  /// Brings every index that hangs on the user's placement of `project` in line with the placements.
  void refreshPlacement(const std::string& project);
  /// Brings the user's schedule of `task`, and the day index, in line with the schedules.
  void refreshSchedule(const std::string& task);
  /// Whether `project` is one the user placed but does not own.
  void refreshShared(const std::string& project);
  void setTaskArea(const TaskRecord& task);

  Snapshot data_{};
  CalendarDayReader days_;
  CloudKitCacheIndexes indexes_{};
  // Upkeep only: every task (subtasks too) by home, and the names of the user's own placements and
  // schedules by the project or task they are about, with the area each placed project is in.
  RecordNameIndex allTasksByHome_{};
  RecordNameIndex myPlacementsByProject_{};
  std::unordered_map<std::string, std::string> placedProjectArea_{};
  RecordNameIndex mySchedulesByTask_{};
  std::int64_t dataVersion_ = 0;
  MutationHandler onMutation_{};
  std::optional<RollbackLog> rollbackLog_{};
};

} // namespace vantrel
