// Headers, gaps, moves and reorders: the mutations that arrange items rather than make them.
#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <set>

namespace vantrel {
namespace {

/// Fresh indexes in the listed order, one step apart, starting one step in.
std::int64_t orderedIndex(std::size_t position) {
  return std::int64_t(position + 1) * SortIndex::step;
}

/// A reorder that names one item twice cannot be honoured; it is refused as a request for a missing one.
template <class Key> void requireDistinct(std::span<const Key> keys, std::string_view recordType) {
  std::set<Key> seen;
  for (const auto& key : keys) {
    if (!seen.insert(key).second) {
      throw CloudKitStoreError::recordNotFound(recordType, key.id);
    }
  }
}

} // namespace

std::vector<std::int64_t> CloudKitStore::homeItemIndexes(const std::string& project) const {
  std::vector<std::int64_t> indexes;
  if (const auto tasks = cache_.tasksByHome().find(project); tasks != cache_.tasksByHome().end()) {
    for (const auto& task : tasks->second) {
      indexes.push_back(cache_.tasks().at(task).sortIndex);
    }
  }
  for (const auto& header : CloudKitCache::namesIn(cache_.sectionsByProject(), project)) {
    indexes.push_back(cache_.projectSections().at(header).sortIndex);
  }
  return indexes;
}

std::vector<std::int64_t> CloudKitStore::areaItemIndexes(const std::string& area) const {
  std::vector<std::int64_t> indexes;
  if (const auto placed = cache_.projectsInArea().find(area); placed != cache_.projectsInArea().end()) {
    for (const auto& project : placed->second) {
      indexes.push_back(requireMyPlacement(project).sortIndex);
    }
  }
  for (const auto& header : CloudKitCache::namesIn(cache_.areaSectionsByArea(), area)) {
    if (const auto& section = cache_.areaSections().at(header); section.userRef == cache_.currentUserRef()) {
      indexes.push_back(section.sortIndex);
    }
  }
  return indexes;
}

std::string CloudKitStore::addHeaderToProject(std::string_view project, std::string_view title,
                                              bool insertAtTop) {
  guardWrite();
  const std::string projectRef = requireProject(project).recordName;
  const auto siblings = homeItemIndexes(projectRef);
  const ProjectSectionRecord header{.recordName = newRecordName(RecordNames::headerPrefix),
                                    .projectRef = projectRef,
                                    .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                                    .sortIndex = insertAtTop ? SortIndex::atTop(siblings)
                                                             : SortIndex::appended(siblings)};
  saveRecord(header);
  return header.recordName;
}

std::string CloudKitStore::addHeaderToArea(std::string_view area, std::string_view title, bool insertAtTop) {
  guardWrite();
  const std::string areaRef = requireArea(area).recordName;
  const auto siblings = areaItemIndexes(areaRef);
  const AreaSectionRecord header{.recordName = newRecordName(RecordNames::headerPrefix),
                                 .userRef = cache_.currentUserRef(),
                                 .areaRef = areaRef,
                                 .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                                 .sortIndex = insertAtTop ? SortIndex::atTop(siblings)
                                                          : SortIndex::appended(siblings)};
  saveRecord(header);
  return header.recordName;
}

void CloudKitStore::setHeaderTitle(std::string_view header, std::string_view title) {
  guardWrite();
  const std::string name(header);
  if (const auto found = cache_.projectSections().find(name); found != cache_.projectSections().end()) {
    ProjectSectionRecord changed = found->second;
    changed.title = trimmingWhiteSpaceAndNewlines(title);
    saveRecord(changed);
  } else if (const auto areaHeader = cache_.areaSections().find(name);
             areaHeader != cache_.areaSections().end()) {
    AreaSectionRecord changed = areaHeader->second;
    changed.title = trimmingWhiteSpaceAndNewlines(title);
    saveRecord(changed);
  } else {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::projectSection, header);
  }
}

void CloudKitStore::deleteHeader(std::string_view header) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string name(header);
  if (cache_.projectSections().contains(name)) {
    // A copy: each delete changes the index.
    const RecordNameSet foldings = CloudKitCache::namesIn(cache_.sectionStatesBySection(), name);
    for (const auto& state : foldings) {
      deleteRecord(CKRecordTypes::userProjectSectionState, state);
    }
    deleteRecord(CKRecordTypes::projectSection, name);
  } else if (cache_.areaSections().contains(name)) {
    deleteRecord(CKRecordTypes::areaSection, name);
  } else {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::projectSection, header);
  }
}

const GapRecord& CloudKitStore::requireGap(std::string_view gap) const {
  const auto found = cache_.gaps().find(std::string(gap));
  if (found == cache_.gaps().end()) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::gap, gap);
  }
  return found->second;
}

std::vector<UserTaskScheduleRecord> CloudKitStore::schedulesInGap(const GapRecord& gap) const {
  std::vector<UserTaskScheduleRecord> planned;
  for (const auto& [task, schedule] : cache_.myTaskSchedules()) {
    if (schedule.date && schedule.gapTime == gap.time &&
        CalendarDate::utcDayOf(*schedule.date).description() == gap.dayRef) {
      planned.push_back(schedule);
    }
  }
  return planned;
}

std::string CloudKitStore::addGap(const CalendarDate& day, std::string time, std::optional<std::string> label,
                                  bool reminder, std::optional<std::string> recordName) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string dayRef = RecordNames::day(day);
  std::vector<std::int64_t> siblings;
  if (const auto gaps = cache_.gapIDsByDay().find(dayRef); gaps != cache_.gapIDsByDay().end()) {
    for (const auto& gap : gaps->second) {
      siblings.push_back(cache_.gaps().at(gap).sortIndex);
    }
  }
  const GapRecord gap{.recordName =
                          nameForNewRecord<GapRecord>(std::move(recordName), RecordNames::gapPrefix),
                      .dayRef = dayRef,
                      .time = std::move(time),
                      .label = std::move(label),
                      .reminder = reminder,
                      .sortIndex = SortIndex::appended(siblings)};
  if (!cache_.days().contains(dayRef)) {
    saveRecord(DayRecord{.recordName = dayRef, .date = day.noonUTC()});
  }
  saveRecord(gap);
  return gap.recordName;
}

void CloudKitStore::updateGap(std::string_view gap, std::optional<std::string> time,
                              std::optional<std::optional<std::string>> label, std::optional<bool> reminder) {
  guardWrite();
  const WriteBatch batch(*this);
  // A copy: saving the change replaces the record the cache holds.
  const GapRecord current = requireGap(gap);
  GapRecord changed = current;
  const auto planned = schedulesInGap(current);
  if (time) {
    changed.time = *time;
  }
  if (label) {
    changed.label = *label;
  }
  if (reminder) {
    changed.reminder = *reminder;
  }
  saveRecord(changed);
  if (changed.time != current.time) {
    for (auto schedule : planned) {
      schedule.gapTime = changed.time;
      saveRecord(schedule);
    }
  }
}

void CloudKitStore::deleteGap(std::string_view gap, GapTasksOnDelete tasks) {
  guardWrite();
  const WriteBatch batch(*this);
  const GapRecord current = requireGap(gap);
  for (auto schedule : schedulesInGap(current)) {
    schedule.gapTime.reset();
    if (tasks == GapTasksOnDelete::returnToAnyday) {
      schedule.date.reset();
    }
    if (schedule.isAllDefaults()) {
      deleteRecord(CKRecordTypes::userTaskSchedule, schedule.recordName);
    } else {
      saveRecord(schedule);
    }
  }
  deleteRecord(CKRecordTypes::gap, current.recordName);
}

std::vector<std::string> CloudKitStore::copyGaps(std::span<const std::pair<CalendarDate, GapRecord>> copies) {
  guardWrite();
  const WriteBatch batch(*this);
  std::vector<std::string> names;
  for (const auto& [day, gap] : copies) {
    names.push_back(addGap(day, gap.time, gap.label, gap.reminder));
  }
  return names;
}

void CloudKitStore::moveTask(std::string_view task, std::string_view home) {
  guardWrite();
  const WriteBatch batch(*this);
  TaskRecord moved = requireTask(task);
  const std::string homeRef(home);
  if (!cache_.areas().contains(homeRef) && !cache_.projects().contains(homeRef)) {
    throw CloudKitStoreError::recordNotFound(
        homeRef.starts_with(RecordNames::projectPrefix) ? CKRecordTypes::project : CKRecordTypes::area, home);
  }
  std::vector<TaskRecord> subtasks;
  if (const auto children = cache_.tasksByParent().find(moved.recordName);
      children != cache_.tasksByParent().end()) {
    for (const auto& child : children->second) {
      subtasks.push_back(cache_.tasks().at(child));
    }
  }
  // The new home's top-level tasks (and headers, for a project) are the siblings it joins.
  const auto siblings = homeItemIndexes(homeRef);
  moved.homeRef = homeRef;
  moved.parentTaskRef.reset();
  moved.sortIndex = SortIndex::appended(siblings);
  saveRecord(moved);
  for (auto& subtask : subtasks) {
    subtask.homeRef = homeRef;
    saveRecord(subtask);
  }
}

void CloudKitStore::reorderProject(std::string_view project, std::span<const ProjectItemKey> newOrder) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string projectRef = requireProject(project).recordName;
  requireDistinct(newOrder, CKRecordTypes::task);
  for (const auto& key : newOrder) {
    const bool belongs = key.kind == ProjectItemKey::Kind::task
                             ? cache_.tasks().contains(key.id) &&
                                   cache_.tasks().at(key.id).homeRef == projectRef &&
                                   !cache_.tasks().at(key.id).isSubtask()
                             : cache_.projectSections().contains(key.id) &&
                                   cache_.projectSections().at(key.id).projectRef == projectRef;
    if (!belongs) {
      throw CloudKitStoreError::recordNotFound(
          key.kind == ProjectItemKey::Kind::task ? CKRecordTypes::task : CKRecordTypes::projectSection,
          key.id);
    }
  }
  for (std::size_t position = 0; position < newOrder.size(); ++position) {
    const auto& key = newOrder[position];
    if (key.kind == ProjectItemKey::Kind::task) {
      TaskRecord changed = cache_.tasks().at(key.id);
      changed.sortIndex = orderedIndex(position);
      saveRecord(changed);
    } else {
      ProjectSectionRecord changed = cache_.projectSections().at(key.id);
      changed.sortIndex = orderedIndex(position);
      saveRecord(changed);
    }
  }
}

void CloudKitStore::reorderAreaProjects(std::string_view area, std::span<const AreaItemKey> newOrder) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string areaRef = requireArea(area).recordName;
  requireDistinct(newOrder, CKRecordTypes::userProjectPlacement);
  for (const auto& key : newOrder) {
    if (key.kind == AreaItemKey::Kind::project) {
      if (requireMyPlacement(key.id).areaRef != areaRef) {
        throw CloudKitStoreError::recordNotFound(CKRecordTypes::userProjectPlacement, key.id);
      }
    } else if (!cache_.areaSections().contains(key.id) ||
               cache_.areaSections().at(key.id).areaRef != areaRef) {
      throw CloudKitStoreError::recordNotFound(CKRecordTypes::areaSection, key.id);
    }
  }
  for (std::size_t position = 0; position < newOrder.size(); ++position) {
    const auto& key = newOrder[position];
    if (key.kind == AreaItemKey::Kind::project) {
      UserProjectPlacementRecord changed = requireMyPlacement(key.id);
      changed.sortIndex = orderedIndex(position);
      saveRecord(changed);
    } else {
      AreaSectionRecord changed = cache_.areaSections().at(key.id);
      changed.sortIndex = orderedIndex(position);
      saveRecord(changed);
    }
  }
}

void CloudKitStore::reorderAreaTasks(std::string_view area, std::span<const std::string> taskOrder) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string areaRef = requireArea(area).recordName;
  std::set<std::string> seen;
  for (const auto& task : taskOrder) {
    const auto found = cache_.tasks().find(task);
    if (found == cache_.tasks().end() || found->second.homeRef != areaRef || found->second.isSubtask() ||
        !seen.insert(task).second) {
      throw CloudKitStoreError::recordNotFound(CKRecordTypes::task, task);
    }
  }
  for (std::size_t position = 0; position < taskOrder.size(); ++position) {
    TaskRecord changed = cache_.tasks().at(taskOrder[position]);
    changed.sortIndex = orderedIndex(position);
    saveRecord(changed);
  }
}

} // namespace vantrel
