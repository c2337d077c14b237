// The planner's mutations: validate against the cache, compute the new records, then write them through
// saveRecord and deleteRecord.
#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <stdexcept>
#include <utility>
#include <vector>

namespace vantrel {
namespace {

template <class Map, class Index>
std::vector<std::int64_t> sortIndexes(const Map& records, const Index& names) {
  std::vector<std::int64_t> indexes;
  for (const auto& name : names) {
    if (const auto found = records.find(name); found != records.end()) {
      indexes.push_back(found->second.sortIndex);
    }
  }
  return indexes;
}

} // namespace

std::string CloudKitStore::newRecordName(std::string_view prefix) {
  return RecordNames::random(prefix, environment_.uuids ? *environment_.uuids : randomUUIDs_);
}

const TaskRecord& CloudKitStore::requireTask(std::string_view task) const {
  const auto found = cache_.tasks().find(std::string(task));
  if (found == cache_.tasks().end()) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::task, task);
  }
  return found->second;
}

const AreaRecord& CloudKitStore::requireArea(std::string_view area) const {
  const auto found = cache_.areas().find(std::string(area));
  if (found == cache_.areas().end()) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::area, area);
  }
  return found->second;
}

const ProjectRecord& CloudKitStore::requireProject(std::string_view project) const {
  const auto found = cache_.projects().find(std::string(project));
  if (found == cache_.projects().end()) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::project, project);
  }
  return found->second;
}

const UserProjectPlacementRecord& CloudKitStore::requireMyPlacement(std::string_view project) const {
  if (const auto* placement = cache_.myPlacement(std::string(project))) {
    return *placement;
  }
  throw CloudKitStoreError::recordNotFound(
      CKRecordTypes::userProjectPlacement,
      RecordNames::userProjectPlacement(cache_.currentUserRef(), project));
}

std::string CloudKitStore::addArea(std::string_view name, std::string color, std::string icon) {
  guardWrite();
  AreaRecord area{
      .name = RecordNames::normalizedAreaName(name), .color = std::move(color), .icon = std::move(icon)};
  area.recordName = RecordNames::uniqueAreaRecordName(
      area.name, [&](std::string_view taken) { return cache_.areas().contains(std::string(taken)); });
  std::vector<std::int64_t> indexes;
  for (const auto& [recordName, existing] : cache_.areas()) {
    indexes.push_back(existing.sortIndex);
  }
  area.sortIndex = SortIndex::appended(indexes);
  saveRecord(area);
  return area.recordName;
}

void CloudKitStore::setAreaName(std::string_view area, std::string_view name) {
  guardWrite();
  AreaRecord changed = requireArea(area);
  changed.name = RecordNames::normalizedAreaName(name);
  saveRecord(changed);
}

void CloudKitStore::setAreaColor(std::string_view area, std::string color) {
  guardWrite();
  AreaRecord changed = requireArea(area);
  changed.color = std::move(color);
  saveRecord(changed);
}

void CloudKitStore::setAreaHidden(std::string_view area, bool isHidden) {
  guardWrite();
  AreaRecord changed = requireArea(area);
  changed.isHidden = isHidden;
  saveRecord(changed);
}

void CloudKitStore::deleteArea(std::string_view area) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string name = requireArea(area).recordName;
  const auto count = [&](const RecordNameIndex& index) -> std::int64_t {
    const auto found = index.find(name);
    return found == index.end() ? 0 : std::int64_t(found->second.size());
  };
  if (const auto projects = count(cache_.projectsInArea()), tasks = count(cache_.tasksByHome());
      projects > 0 || tasks > 0) {
    throw CloudKitStoreError::areaNotEmpty(name, projects, tasks);
  }
  // The server drops the area's headers with it (they point at it with deleteSelf); the cache must too.
  const RecordNameSet headers = CloudKitCache::namesIn(cache_.areaSectionsByArea(), name);
  for (const auto& header : headers) {
    deleteRecord(CKRecordTypes::areaSection, header);
  }
  deleteRecord(CKRecordTypes::area, name);
}

std::string CloudKitStore::addTask(std::string homeRef, std::string_view title,
                                   const NewTaskOptions& options) {
  TaskRecord task{.recordName = nameForNewRecord<TaskRecord>(options.recordName, RecordNames::taskPrefix),
                  .homeRef = std::move(homeRef),
                  .title = std::string(trimmingWhiteSpaceAndNewlines(title))};
  // A project's tasks share one order with its headers; an area's tasks have their own.
  if (options.aboveFirstSection && !options.insertAtTop) {
    task.sortIndex = indexAboveFirstSection(task.homeRef);
  } else {
    const auto siblings = homeItemIndexes(task.homeRef);
    task.sortIndex = options.insertAtTop ? SortIndex::atTop(siblings) : SortIndex::appended(siblings);
  }
  saveRecord(task);
  if (options.plannedDate) {
    writeSchedule(task.recordName, options.plannedDate->noonUTC(), std::nullopt);
  }
  return task.recordName;
}

std::string CloudKitStore::addTaskToArea(std::string_view area, std::string_view title,
                                         const NewTaskOptions& options) {
  guardWrite();
  const WriteBatch batch(*this);
  if (options.aboveFirstSection) {
    throw std::invalid_argument("aboveFirstSection places a task among a project's headers; areas have none");
  }
  return addTask(requireArea(area).recordName, title, options);
}

std::string CloudKitStore::addTaskToProject(std::string_view project, std::string_view title,
                                            const NewTaskOptions& options) {
  guardWrite();
  const WriteBatch batch(*this);
  return addTask(requireProject(project).recordName, title, options);
}

std::string CloudKitStore::addSubtask(std::string_view parentTask, std::string_view title,
                                      std::optional<std::string> recordName) {
  guardWrite();
  const TaskRecord& parent = requireTask(parentTask);
  TaskRecord subtask{.recordName =
                         nameForNewRecord<TaskRecord>(std::move(recordName), RecordNames::taskPrefix),
                     .homeRef = parent.homeRef,
                     .parentTaskRef = parent.recordName,
                     .title = std::string(trimmingWhiteSpaceAndNewlines(title))};
  std::vector<std::int64_t> siblings;
  if (const auto children = cache_.tasksByParent().find(parent.recordName);
      children != cache_.tasksByParent().end()) {
    siblings = sortIndexes(cache_.tasks(), children->second);
  }
  subtask.sortIndex = SortIndex::appended(siblings);
  saveRecord(subtask);
  return subtask.recordName;
}

void CloudKitStore::setTaskTitle(std::string_view task, std::string_view title) {
  guardWrite();
  TaskRecord changed = requireTask(task);
  changed.title = trimmingWhiteSpaceAndNewlines(title);
  saveRecord(changed);
}

void CloudKitStore::setTaskDone(std::string_view task, bool done) {
  guardWrite();
  TaskRecord changed = requireTask(task);
  changed.done = done;
  saveRecord(changed);
}

void CloudKitStore::setTaskDueDate(std::string_view task, std::optional<Date> dueDate) {
  guardWrite();
  TaskRecord changed = requireTask(task);
  changed.dueDate = dueDate;
  saveRecord(changed);
}

void CloudKitStore::setTaskSchedule(std::string_view task, std::optional<CalendarDate> day,
                                    std::optional<std::string> gapTime) {
  guardWrite();
  writeSchedule(requireTask(task).recordName, day ? std::optional(day->noonUTC()) : std::nullopt,
                std::move(gapTime));
}

std::string CloudKitStore::addProject(std::string_view name, std::string_view area,
                                      std::optional<std::string> purpose) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string areaRef = requireArea(area).recordName;
  const ProjectRecord project{.recordName = newRecordName(RecordNames::projectPrefix),
                              .name = std::string(trimmingWhiteSpaceAndNewlines(name)),
                              .purpose = std::move(purpose)};
  // An area's projects and this user's headers in it share one order.
  const auto siblings = areaItemIndexes(areaRef);
  const UserProjectPlacementRecord placement{
      .recordName = RecordNames::userProjectPlacement(cache_.currentUserRef(), project.recordName),
      .userRef = cache_.currentUserRef(),
      .projectRef = project.recordName,
      .areaRef = areaRef,
      .sortIndex = SortIndex::appended(siblings)};
  saveRecord(project);
  saveRecord(placement);
  return project.recordName;
}

void CloudKitStore::setProjectName(std::string_view project, std::string_view name) {
  guardWrite();
  ProjectRecord changed = requireProject(project);
  changed.name = trimmingWhiteSpaceAndNewlines(name);
  saveRecord(changed);
}

void CloudKitStore::setProjectPurpose(std::string_view project, std::optional<std::string> purpose) {
  guardWrite();
  ProjectRecord changed = requireProject(project);
  changed.purpose = std::move(purpose);
  saveRecord(changed);
}

void CloudKitStore::setProjectDueDate(std::string_view project, std::optional<Date> dueDate) {
  guardWrite();
  ProjectRecord changed = requireProject(project);
  changed.dueDate = dueDate;
  saveRecord(changed);
}

void CloudKitStore::setProjectPinned(std::string_view project, bool isPinned) {
  guardWrite();
  requireProject(project);
  UserProjectPlacementRecord changed = requireMyPlacement(project);
  changed.isPinned = isPinned;
  saveRecord(changed);
}

void CloudKitStore::deleteProject(std::string_view project) {
  guardWrite();
  const WriteBatch batch(*this);
  const std::string name = requireProject(project).recordName;
  std::vector<std::pair<std::string_view, std::string>> doomed;
  const RecordNameSet& tasks = CloudKitCache::namesIn(cache_.allTasksByHome(), name);
  for (const auto& task : tasks) {
    if (const auto schedule = cache_.myTaskSchedules().find(task);
        schedule != cache_.myTaskSchedules().end()) {
      doomed.emplace_back(CKRecordTypes::userTaskSchedule, schedule->second.recordName);
    }
  }
  for (const auto& header : CloudKitCache::namesIn(cache_.sectionsByProject(), name)) {
    for (const auto& state : CloudKitCache::namesIn(cache_.sectionStatesBySection(), header)) {
      doomed.emplace_back(CKRecordTypes::userProjectSectionState, state);
    }
    doomed.emplace_back(CKRecordTypes::projectSection, header);
  }
  for (const auto& task : tasks) {
    doomed.emplace_back(CKRecordTypes::task, task);
  }
  for (const auto& placement : CloudKitCache::namesIn(cache_.placementsByProject(), name)) {
    doomed.emplace_back(CKRecordTypes::userProjectPlacement, placement);
  }
  doomed.emplace_back(CKRecordTypes::project, name);
  for (const auto& [type, record] : doomed) {
    deleteRecord(type, record);
  }
}

void CloudKitStore::bridgeLockProjects(std::span<const std::string> projects, std::string_view deviceName,
                                       Date lockedAt) {
  writeBridgeLock(projects, [&](ProjectRecord& project) {
    project.bridgeLockedBy = cache_.currentUserRef();
    project.bridgeLockedByName = std::string(deviceName);
    project.bridgeLockedAt = lockedAt;
  });
}

void CloudKitStore::bridgeUnlockProjects(std::span<const std::string> projects) {
  writeBridgeLock(projects, [](ProjectRecord& project) {
    project.bridgeLockedBy.reset();
    project.bridgeLockedByName.reset();
    project.bridgeLockedAt.reset();
  });
}

void CloudKitStore::writeBridgeLock(std::span<const std::string> projects,
                                    const std::function<void(ProjectRecord&)>& change) {
  // The bridge sets its freeze around these writes, so they pass it the way its check-in does.
  struct Restore {
    bool& flag;
    bool value;
    ~Restore() { flag = value; }
  } const restore{bridgeIsApplying_, std::exchange(bridgeIsApplying_, true)};
  guardWrite();
  const WriteBatch batch(*this);
  for (const auto& project : projects) {
    requireProject(project);
  }
  for (const auto& project : projects) {
    ProjectRecord changed = cache_.projects().at(project);
    change(changed);
    saveRecord(changed);
  }
}

std::string CloudKitStore::addInboxItem(std::string_view title, std::optional<std::string> notes,
                                        Date capturedAt, std::optional<std::string> recordName) {
  guardWrite();
  InboxItemRecord item{
      .recordName = nameForNewRecord<InboxItemRecord>(std::move(recordName), RecordNames::inboxItemPrefix),
      .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
      .capturedAt = capturedAt,
      .notes = std::move(notes)};
  std::vector<std::int64_t> siblings;
  for (const auto& [name, existing] : cache_.inbox()) {
    siblings.push_back(existing.sortIndex);
  }
  item.sortIndex = SortIndex::appended(siblings);
  saveRecord(item);
  return item.recordName;
}

void CloudKitStore::deleteInboxItem(std::string_view item) {
  guardWrite();
  if (!cache_.inbox().contains(std::string(item))) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::inboxItem, item);
  }
  deleteRecord(CKRecordTypes::inboxItem, item);
}

} // namespace vantrel
