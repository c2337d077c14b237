#include "VantrelCore/Store/CloudKitCache.hpp"

#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Sync/CloudKitDomainRecord.hpp"

#include <utility>

namespace vantrel {
namespace {

void insertName(RecordNameIndex& index, const std::string& key, const std::string& name) {
  index[key].insert(name);
}

void eraseName(RecordNameIndex& index, const std::string& key, const std::string& name) {
  const auto names = index.find(key);
  if (names == index.end()) {
    return;
  }
  names->second.erase(name);
  if (names->second.empty()) {
    index.erase(names);
  }
}

/// Moves the record's name from the key it was filed under to the key it is filed under now.
template <class Record>
void reindexBy(const Record* before, const Record* after, std::string Record::*key, RecordNameIndex& index) {
  if (before) {
    eraseName(index, before->*key, before->recordName);
  }
  if (after) {
    insertName(index, after->*key, after->recordName);
  }
}

} // namespace

CloudKitCache::CloudKitCache() : days_(DeviceSettings::timeZone()) {}

template <class Record> void CloudKitCache::remember(const std::string& recordName) {
  if (!rollbackLog_) {
    return;
  }
  const auto& map = data_.records<Record>();
  if (!rollbackLog_->remembered.emplace(&map, recordName).second) {
    return;
  }
  std::optional<Record> before;
  if (const auto found = map.find(recordName); found != map.end()) {
    before = found->second;
  }
  rollbackLog_->undo.push_back([recordName, before = std::move(before)](CloudKitCache& cache) {
    if (before) {
      cache.upsert(*before);
    } else {
      cache.remove<Record>(recordName);
    }
  });
}

void CloudKitCache::rememberAll() {
  if (rollbackLog_) {
    rollbackLog_->undo.push_back([before = data_](CloudKitCache& cache) { cache.replaceAll(before); });
  }
}

void CloudKitCache::openRollbackLog() {
  rollbackLog_.emplace();
}

void CloudKitCache::closeRollbackLog() {
  rollbackLog_.reset();
}

void CloudKitCache::rollBack() {
  if (!rollbackLog_) {
    return;
  }
  auto undo = std::move(rollbackLog_->undo);
  rollbackLog_.reset();
  for (auto step = undo.rbegin(); step != undo.rend(); ++step) {
    (*step)(*this);
  }
}

bool CloudKitCache::copyRecord(std::string_view recordName, Snapshot& target) const {
  if (recordName == schemaVersionRecordName) {
    target.schemaVersion = data_.schemaVersion;
    return data_.schemaVersion.has_value();
  }
  return visitRecord(recordName, [&]<class Record>(const Record& record) {
    target.records<Record>().insert_or_assign(record.recordName, record);
  });
}

bool CloudKitCache::removeNamed(std::string_view recordName) {
  if (recordName == schemaVersionRecordName) {
    const bool had = data_.schemaVersion.has_value();
    setSchemaVersion(std::nullopt);
    return had;
  }
  // The removal ends the visit; the record it destroys is not looked at again.
  return visitRecord(recordName, [&]<class Record>(const Record&) { remove<Record>(recordName); });
}

template <class Record> void CloudKitCache::upsert(Record record) {
  remember<Record>(record.recordName);
  auto& map = data_.records<Record>();
  std::optional<Record> before;
  const Record* after = nullptr;
  if (const auto existing = map.find(record.recordName); existing != map.end()) {
    before = std::exchange(existing->second, std::move(record));
    after = &existing->second;
  } else {
    std::string name = record.recordName;
    after = &map.emplace(std::move(name), std::move(record)).first->second;
  }
  reindex(before ? &*before : nullptr, after);
  mutated();
}

template <class Record> bool CloudKitCache::remove(std::string_view recordName) {
  remember<Record>(std::string(recordName));
  auto removed = data_.records<Record>().extract(std::string(recordName));
  if (removed) {
    reindex(&removed.mapped(), static_cast<const Record*>(nullptr));
  }
  mutated();
  return !removed.empty();
}

#define VANTREL_CACHE_RECORD_TYPE(Record)                                                                    \
  template void CloudKitCache::upsert<Record>(Record);                                                       \
  template bool CloudKitCache::remove<Record>(std::string_view);
VANTREL_CACHE_RECORD_TYPE(AreaRecord)
VANTREL_CACHE_RECORD_TYPE(ProjectRecord)
VANTREL_CACHE_RECORD_TYPE(TaskRecord)
VANTREL_CACHE_RECORD_TYPE(ProjectSectionRecord)
VANTREL_CACHE_RECORD_TYPE(AreaSectionRecord)
VANTREL_CACHE_RECORD_TYPE(DayRecord)
VANTREL_CACHE_RECORD_TYPE(GapRecord)
VANTREL_CACHE_RECORD_TYPE(InboxItemRecord)
VANTREL_CACHE_RECORD_TYPE(UserProjectPlacementRecord)
VANTREL_CACHE_RECORD_TYPE(UserTaskScheduleRecord)
VANTREL_CACHE_RECORD_TYPE(UserProjectSectionStateRecord)
VANTREL_CACHE_RECORD_TYPE(SharingUserNameRecord)
#undef VANTREL_CACHE_RECORD_TYPE

void CloudKitCache::setSchemaVersion(std::optional<SchemaVersionRecord> schemaVersion) {
  if (rollbackLog_ && rollbackLog_->remembered.emplace(&data_.schemaVersion, "").second) {
    rollbackLog_->undo.push_back(
        [before = data_.schemaVersion](CloudKitCache& cache) { cache.setSchemaVersion(before); });
  }
  data_.schemaVersion = std::move(schemaVersion);
  mutated();
}

void CloudKitCache::setCurrentUserRef(std::string userRef) {
  data_.currentUserRef = std::move(userRef);
  rebuildIndexes();
  mutated();
}

void CloudKitCache::setDayIndexTimeZone(const icu::TimeZone& zone) {
  days_ = CalendarDayReader(zone);
  rebuildIndexes();
  mutated();
}

void CloudKitCache::replaceAll(Snapshot snapshot) {
  rememberAll();
  data_ = std::move(snapshot);
  data_.snapshotVersion = Snapshot::currentSnapshotVersion;
  data_.localCommit.reset();
  rebuildIndexes();
  mutated();
}

void CloudKitCache::removeAll() {
  rememberAll();
  std::string user = std::move(data_.currentUserRef);
  data_ = Snapshot{};
  data_.currentUserRef = std::move(user);
  rebuildIndexes();
  mutated();
}

CloudKitCache::Snapshot CloudKitCache::snapshot() const {
  return data_;
}

void CloudKitCache::rebuildIndexes() {
  indexes_ = CloudKitCacheIndexes::build(data_, days_.zone());
  allTasksByHome_.clear();
  for (const auto& [name, task] : data_.tasks) {
    insertName(allTasksByHome_, task.homeRef, name);
  }
  myPlacementsByProject_.clear();
  for (const auto& [name, placement] : data_.userProjectPlacements) {
    if (placement.userRef == data_.currentUserRef) {
      insertName(myPlacementsByProject_, placement.projectRef, name);
    }
  }
  placedProjectArea_.clear();
  for (const auto& [project, placements] : myPlacementsByProject_) {
    placedProjectArea_[project] = data_.userProjectPlacements.at(*placements.begin()).areaRef;
  }
  mySchedulesByTask_.clear();
  for (const auto& [name, schedule] : data_.userTaskSchedules) {
    if (schedule.userRef == data_.currentUserRef) {
      insertName(mySchedulesByTask_, schedule.taskRef, name);
    }
  }
}

void CloudKitCache::mutated() {
  ++dataVersion_;
  if (onMutation_) {
    onMutation_();
  }
}

template <class Record> void CloudKitCache::reindex(const Record*, const Record*) {}

void CloudKitCache::reindex(const TaskRecord* before, const TaskRecord* after) {
  if (before) {
    eraseName(allTasksByHome_, before->homeRef, before->recordName);
    if (before->parentTaskRef) {
      eraseName(indexes_.tasksByParent, *before->parentTaskRef, before->recordName);
    } else {
      eraseName(indexes_.tasksByHome, before->homeRef, before->recordName);
    }
    indexes_.taskAreaRef.erase(before->recordName);
  }
  if (after) {
    insertName(allTasksByHome_, after->homeRef, after->recordName);
    if (after->parentTaskRef) {
      insertName(indexes_.tasksByParent, *after->parentTaskRef, after->recordName);
    } else {
      insertName(indexes_.tasksByHome, after->homeRef, after->recordName);
    }
    setTaskArea(*after);
  }
}

void CloudKitCache::reindex(const ProjectRecord* before, const ProjectRecord* after) {
  refreshShared(before ? before->recordName : after->recordName);
}

void CloudKitCache::reindex(const UserProjectPlacementRecord* before,
                            const UserProjectPlacementRecord* after) {
  reindexBy(before, after, &UserProjectPlacementRecord::projectRef, indexes_.placementsByProject);
  reindexMine(before, after, &UserProjectPlacementRecord::projectRef, myPlacementsByProject_,
              &CloudKitCache::refreshPlacement);
}

void CloudKitCache::reindex(const UserTaskScheduleRecord* before, const UserTaskScheduleRecord* after) {
  reindexMine(before, after, &UserTaskScheduleRecord::taskRef, mySchedulesByTask_,
              &CloudKitCache::refreshSchedule);
}

template <class Record>
void CloudKitCache::reindexMine(const Record* before, const Record* after, std::string Record::*about,
                                RecordNameIndex& mine, void (CloudKitCache::*refresh)(const std::string&)) {
  const auto isMine = [&](const Record* record) { return record && record->userRef == data_.currentUserRef; };
  if (isMine(before)) {
    eraseName(mine, before->*about, before->recordName);
  }
  if (isMine(after)) {
    insertName(mine, after->*about, after->recordName);
  }
  if (isMine(before)) {
    (this->*refresh)(before->*about);
  }
  if (isMine(after) && !(isMine(before) && before->*about == after->*about)) {
    (this->*refresh)(after->*about);
  }
}

void CloudKitCache::reindex(const GapRecord* before, const GapRecord* after) {
  reindexBy(before, after, &GapRecord::dayRef, indexes_.gapIDsByDay);
}

void CloudKitCache::reindex(const ProjectSectionRecord* before, const ProjectSectionRecord* after) {
  reindexBy(before, after, &ProjectSectionRecord::projectRef, indexes_.sectionsByProject);
}

void CloudKitCache::reindex(const AreaSectionRecord* before, const AreaSectionRecord* after) {
  reindexBy(before, after, &AreaSectionRecord::areaRef, indexes_.areaSectionsByArea);
}

void CloudKitCache::reindex(const UserProjectSectionStateRecord* before,
                            const UserProjectSectionStateRecord* after) {
  reindexBy(before, after, &UserProjectSectionStateRecord::sectionRef, indexes_.sectionStatesBySection);
}

const UserProjectPlacementRecord* CloudKitCache::myPlacement(const std::string& project) const {
  const auto placements = myPlacementsByProject_.find(project);
  return placements == myPlacementsByProject_.end()
             ? nullptr
             : &data_.userProjectPlacements.at(*placements->second.begin());
}

const RecordNameSet& CloudKitCache::namesIn(const RecordNameIndex& index, const std::string& key) {
  static const RecordNameSet none;
  const auto found = index.find(key);
  return found == index.end() ? none : found->second;
}

void CloudKitCache::refreshPlacement(const std::string& project) {
  std::optional<std::string> area;
  if (const auto* placement = myPlacement(project)) {
    area = placement->areaRef;
  }
  std::optional<std::string> formerArea;
  if (const auto placed = placedProjectArea_.find(project); placed != placedProjectArea_.end()) {
    formerArea = placed->second;
  }
  if (area != formerArea) {
    if (formerArea) {
      eraseName(indexes_.projectsInArea, *formerArea, project);
      placedProjectArea_.erase(project);
    }
    if (area) {
      insertName(indexes_.projectsInArea, *area, project);
      placedProjectArea_[project] = *area;
    }
    if (const auto tasks = allTasksByHome_.find(project); tasks != allTasksByHome_.end()) {
      for (const auto& task : tasks->second) {
        setTaskArea(data_.tasks.at(task));
      }
    }
  }
  refreshShared(project);
}

void CloudKitCache::refreshShared(const std::string& project) {
  if (myPlacementsByProject_.contains(project) && !data_.projects.contains(project)) {
    indexes_.sharedProjectRefs.insert(project);
  } else {
    indexes_.sharedProjectRefs.erase(project);
  }
}

void CloudKitCache::refreshSchedule(const std::string& task) {
  auto& schedules = indexes_.myTaskSchedules;
  if (const auto former = schedules.find(task); former != schedules.end()) {
    if (former->second.date) {
      eraseName(indexes_.myTaskIDsByDay, days_.dayOf(*former->second.date).description(), task);
    }
    schedules.erase(former);
  }
  if (const auto names = mySchedulesByTask_.find(task); names != mySchedulesByTask_.end()) {
    const auto& schedule = data_.userTaskSchedules.at(*names->second.begin());
    schedules.emplace(task, schedule);
    if (schedule.date) {
      insertName(indexes_.myTaskIDsByDay, days_.dayOf(*schedule.date).description(), task);
    }
  }
}

void CloudKitCache::setTaskArea(const TaskRecord& task) {
  if (task.homeIsArea()) {
    indexes_.taskAreaRef[task.recordName] = task.homeRef;
  } else if (const auto placed = placedProjectArea_.find(task.homeRef); placed != placedProjectArea_.end()) {
    indexes_.taskAreaRef[task.recordName] = placed->second;
  } else {
    indexes_.taskAreaRef.erase(task.recordName);
  }
}

} // namespace vantrel
