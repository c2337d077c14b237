// The planner's operations: each guards the write, then hands over to the rule that knows it, whose
// records come back through save() and remove() onto the write path.
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/Rules/AreaRules.hpp"
#include "VantrelCore/Store/Rules/GapRules.hpp"
#include "VantrelCore/Store/Rules/HeaderRules.hpp"
#include "VantrelCore/Store/Rules/InboxRules.hpp"
#include "VantrelCore/Store/Rules/ProjectRules.hpp"
#include "VantrelCore/Store/Rules/TaskRules.hpp"

#include <utility>

namespace vantrel {

void CloudKitStore::save(AnyRecord record) {
  std::visit([&](const auto& entity) { saveRecord(entity); }, record);
}

void CloudKitStore::remove(std::string_view recordType, std::string_view recordName) {
  deleteRecord(recordType, recordName);
}

std::string CloudKitStore::addArea(std::string_view name, std::string color, std::string icon) {
  const WriteScope write(*this);
  return AreaRules(rules_).add(name, std::move(color), std::move(icon));
}

void CloudKitStore::setAreaName(std::string_view area, std::string_view name) {
  const WriteScope write(*this);
  AreaRules(rules_).rename(area, name);
}

void CloudKitStore::setAreaColor(std::string_view area, std::string color) {
  const WriteScope write(*this);
  AreaRules(rules_).setColor(area, std::move(color));
}

void CloudKitStore::setAreaHidden(std::string_view area, bool isHidden) {
  const WriteScope write(*this);
  AreaRules(rules_).setHidden(area, isHidden);
}

void CloudKitStore::deleteArea(std::string_view area) {
  const WriteScope write(*this);
  AreaRules(rules_).remove(area, sharedRecords_.projects);
}

void CloudKitStore::reorderAreaProjects(std::string_view area, std::span<const AreaItemKey> newOrder) {
  const WriteScope write(*this);
  AreaRules(rules_).reorderItems(area, newOrder);
}

void CloudKitStore::reorderAreaTasks(std::string_view area, std::span<const std::string> taskOrder) {
  const WriteScope write(*this);
  AreaRules(rules_).reorderTasks(area, taskOrder);
}

std::string CloudKitStore::addProject(std::string_view name, std::string_view area,
                                      std::optional<std::string> purpose) {
  const WriteScope write(*this);
  return ProjectRules(rules_).add(name, area, std::move(purpose));
}

std::string CloudKitStore::addProjectBelowHeader(std::string_view areaHeader, std::string_view name) {
  const WriteScope write(*this);
  return ProjectRules(rules_).addBelowHeader(areaHeader, name);
}

void CloudKitStore::setProjectName(std::string_view project, std::string_view name) {
  const WriteScope write(*this);
  ProjectRules(rules_).rename(project, name);
}

void CloudKitStore::setProjectPurpose(std::string_view project, std::optional<std::string> purpose) {
  const WriteScope write(*this);
  ProjectRules(rules_).setPurpose(project, std::move(purpose));
}

void CloudKitStore::setProjectDueDate(std::string_view project, std::optional<Date> dueDate) {
  const WriteScope write(*this);
  ProjectRules(rules_).setDueDate(project, dueDate);
}

void CloudKitStore::setProjectPinned(std::string_view project, bool isPinned) {
  const WriteScope write(*this);
  ProjectRules(rules_).setPinned(project, isPinned);
}

void CloudKitStore::setProjectStatus(std::string_view project, std::string_view status) {
  const WriteScope write(*this);
  ProjectRules(rules_).setStatus(project, status);
}

void CloudKitStore::setProjectSortIndex(std::string_view project, std::int64_t sortIndex) {
  const WriteScope write(*this);
  ProjectRules(rules_).setSortIndex(project, sortIndex);
}

void CloudKitStore::deleteProject(std::string_view project) {
  const WriteScope write(*this);
  ProjectRules(rules_).remove(project);
}

void CloudKitStore::reorderProject(std::string_view project, std::span<const ProjectItemKey> newOrder) {
  const WriteScope write(*this);
  ProjectRules(rules_).reorderItems(project, newOrder);
}

void CloudKitStore::bridgeLockProjects(std::span<const std::string> projects, std::string_view deviceName,
                                       Date lockedAt) {
  const BridgeWrite bridge(*this);
  const WriteScope write(*this);
  ProjectRules(rules_).bridgeLock(projects, deviceName, lockedAt);
}

void CloudKitStore::bridgeUnlockProjects(std::span<const std::string> projects) {
  const BridgeWrite bridge(*this);
  const WriteScope write(*this);
  ProjectRules(rules_).bridgeUnlock(projects);
}

std::string CloudKitStore::addHeaderToProject(std::string_view project, std::string_view title,
                                              bool insertAtTop) {
  const WriteScope write(*this);
  return HeaderRules(rules_).addToProject(project, title, insertAtTop);
}

std::string CloudKitStore::addHeaderToArea(std::string_view area, std::string_view title, bool insertAtTop) {
  const WriteScope write(*this);
  return HeaderRules(rules_).addToArea(area, title, insertAtTop);
}

void CloudKitStore::setHeaderTitle(std::string_view header, std::string_view title) {
  const WriteScope write(*this);
  HeaderRules(rules_).setTitle(header, title);
}

void CloudKitStore::deleteHeader(std::string_view header) {
  const WriteScope write(*this);
  HeaderRules(rules_).remove(header);
}

std::string CloudKitStore::addGap(const CalendarDate& day, std::string time, std::optional<std::string> label,
                                  bool reminder, std::optional<std::string> recordName) {
  const WriteScope write(*this);
  return GapRules(rules_).add(day, std::move(time), std::move(label), reminder, std::move(recordName));
}

void CloudKitStore::updateGap(std::string_view gap, std::optional<std::string> time,
                              std::optional<std::optional<std::string>> label, std::optional<bool> reminder) {
  const WriteScope write(*this);
  GapRules(rules_).update(gap, std::move(time), std::move(label), reminder);
}

void CloudKitStore::deleteGap(std::string_view gap, GapTasksOnDelete tasks) {
  const WriteScope write(*this);
  GapRules(rules_).remove(gap, tasks);
}

std::vector<std::string> CloudKitStore::copyGaps(std::span<const std::pair<CalendarDate, GapRecord>> copies) {
  const WriteScope write(*this);
  return GapRules(rules_).copy(copies);
}

std::string CloudKitStore::addInboxItem(std::string_view title, std::optional<std::string> notes,
                                        Date capturedAt, std::optional<std::string> recordName) {
  const WriteScope write(*this);
  return InboxRules(rules_).add(title, std::move(notes), capturedAt, std::move(recordName));
}

void CloudKitStore::deleteInboxItem(std::string_view item) {
  const WriteScope write(*this);
  InboxRules(rules_).remove(item);
}

std::string CloudKitStore::triageInboxItem(std::string_view item, std::string_view area,
                                           std::optional<std::string> project, bool alsoAppendNote) {
  const WriteScope write(*this);
  return InboxRules(rules_).triage(item, area, std::move(project), alsoAppendNote);
}

std::string CloudKitStore::addTaskToArea(std::string_view area, std::string_view title,
                                         const NewTaskOptions& options) {
  const WriteScope write(*this);
  return TaskRules(rules_).addToArea(area, title, options);
}

std::string CloudKitStore::addTaskToProject(std::string_view project, std::string_view title,
                                            const NewTaskOptions& options) {
  const WriteScope write(*this);
  return TaskRules(rules_).addToProject(project, title, options);
}

std::string CloudKitStore::addTaskBelow(std::string_view referenceTask, std::string_view title) {
  const WriteScope write(*this);
  return TaskRules(rules_).addBelow(referenceTask, title);
}

std::string CloudKitStore::addTaskBelowHeader(std::string_view header, std::string_view title) {
  const WriteScope write(*this);
  return TaskRules(rules_).addBelowHeader(header, title);
}

std::string CloudKitStore::addSubtask(std::string_view parentTask, std::string_view title,
                                      std::optional<std::string> recordName) {
  const WriteScope write(*this);
  return TaskRules(rules_).addSubtask(parentTask, title, std::move(recordName));
}

void CloudKitStore::setTaskTitle(std::string_view task, std::string_view title) {
  const WriteScope write(*this);
  TaskRules(rules_).setTitle(task, title);
}

void CloudKitStore::setTaskDone(std::string_view task, bool done) {
  const WriteScope write(*this);
  TaskRules(rules_).setDone(task, done);
}

void CloudKitStore::setTaskDueDate(std::string_view task, std::optional<Date> dueDate) {
  const WriteScope write(*this);
  TaskRules(rules_).setDueDate(task, dueDate);
}

void CloudKitStore::moveTask(std::string_view task, std::string_view home) {
  const WriteScope write(*this);
  TaskRules(rules_).move(task, home);
}

void CloudKitStore::setTaskSchedule(std::string_view task, std::optional<CalendarDate> day,
                                    std::optional<std::string> gapTime) {
  const WriteScope write(*this);
  TaskRules(rules_).setSchedule(task, day, std::move(gapTime));
}

void CloudKitStore::setTaskSchedules(std::span<const TaskSchedule> schedules) {
  const WriteScope write(*this);
  lastUndoable_ = TaskRules(rules_).setSchedules(schedules);
}

void CloudKitStore::setTaskSchedules(std::span<const std::string> tasks, std::optional<CalendarDate> day,
                                     std::optional<std::string> gapTime) {
  std::vector<TaskSchedule> schedules;
  for (const auto& task : tasks) {
    schedules.push_back({task, day, gapTime});
  }
  setTaskSchedules(schedules);
}

void CloudKitStore::deleteTask(std::string_view task) {
  const std::string name(task);
  deleteTasks(std::span(&name, 1));
}

void CloudKitStore::deleteTasks(std::span<const std::string> tasks) {
  const WriteScope write(*this);
  lastUndoable_ = TaskRules(rules_).remove(tasks);
}

void CloudKitStore::undoLast() {
  if (!lastUndoable_) {
    return;
  }
  const WriteScope write(*this);
  TaskRules(rules_).undo(*lastUndoable_);
  lastUndoable_.reset();
}

} // namespace vantrel
