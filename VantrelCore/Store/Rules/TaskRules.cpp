#include "VantrelCore/Store/Rules/TaskRules.hpp"

#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/Rules/SortOrder.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vantrel {

template <class Change> void TaskRules::change(std::string_view task, Change&& apply) const {
  TaskRecord changed = context_.requireTask(task);
  apply(changed);
  context_.writer().save(std::move(changed));
}

std::string TaskRules::addToHome(std::string homeRef, std::string_view title,
                                 const NewTaskOptions& options) const {
  const SortOrder order(context_);
  TaskRecord task{.recordName =
                      context_.nameForNewRecord<TaskRecord>(options.recordName, RecordNames::taskPrefix),
                  .homeRef = std::move(homeRef),
                  .title = std::string(trimmingWhiteSpaceAndNewlines(title))};
  // A project's tasks share one order with its headers; an area's tasks have their own.
  if (options.aboveFirstSection && !options.insertAtTop) {
    task.sortIndex = order.indexAboveFirstSection(task.homeRef);
  } else {
    const auto siblings = order.homeItemIndexes(task.homeRef);
    task.sortIndex = options.insertAtTop ? SortIndex::atTop(siblings) : SortIndex::appended(siblings);
  }
  std::string recordName = task.recordName;
  context_.writer().save(std::move(task));
  if (options.plannedDate) {
    writeSchedule(recordName, options.plannedDate->noonUTC(), std::nullopt);
  }
  return recordName;
}

std::string TaskRules::addToArea(std::string_view area, std::string_view title,
                                 const NewTaskOptions& options) const {
  if (options.aboveFirstSection) {
    throw std::invalid_argument("aboveFirstSection places a task among a project's headers; areas have none");
  }
  return addToHome(context_.requireArea(area).recordName, title, options);
}

std::string TaskRules::addToProject(std::string_view project, std::string_view title,
                                    const NewTaskOptions& options) const {
  return addToHome(context_.requireProject(project).recordName, title, options);
}

std::string TaskRules::addBelow(std::string_view referenceTask, std::string_view title) const {
  const SortOrder order(context_);
  const TaskRecord reference = context_.requireTask(referenceTask);
  const auto siblingIndexes = [&] {
    return reference.parentTaskRef ? order.subtaskIndexes(*reference.parentTaskRef)
                                   : order.homeItemIndexes(reference.homeRef);
  };
  const auto index = SortOrder::placeAfter(
      [&] { return context_.requireTask(reference.recordName).sortIndex; }, siblingIndexes,
      [&] {
        reference.parentTaskRef ? order.renumberSubtasks(*reference.parentTaskRef)
                                : order.renumberHome(reference.homeRef);
      });
  TaskRecord task{.recordName = context_.newRecordName(RecordNames::taskPrefix),
                  .homeRef = reference.homeRef,
                  .parentTaskRef = reference.parentTaskRef,
                  .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                  .sortIndex = index};
  std::string recordName = task.recordName;
  context_.writer().save(std::move(task));
  return recordName;
}

std::string TaskRules::addBelowHeader(std::string_view header, std::string_view title) const {
  const SortOrder order(context_);
  const ProjectSectionRecord section = context_.requireProjectHeader(header);
  const auto index =
      SortOrder::placeAfter([&] { return context_.requireProjectHeader(section.recordName).sortIndex; },
                            [&] { return order.homeItemIndexes(section.projectRef); },
                            [&] { order.renumberHome(section.projectRef); });
  TaskRecord task{.recordName = context_.newRecordName(RecordNames::taskPrefix),
                  .homeRef = section.projectRef,
                  .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                  .sortIndex = index};
  std::string recordName = task.recordName;
  context_.writer().save(std::move(task));
  return recordName;
}

std::string TaskRules::addSubtask(std::string_view parentTask, std::string_view title,
                                  std::optional<std::string> recordName) const {
  const TaskRecord& parent = context_.requireTask(parentTask);
  TaskRecord subtask{
      .recordName = context_.nameForNewRecord<TaskRecord>(std::move(recordName), RecordNames::taskPrefix),
      .homeRef = parent.homeRef,
      .parentTaskRef = parent.recordName,
      .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
      .sortIndex = SortIndex::appended(SortOrder(context_).subtaskIndexes(parent.recordName))};
  std::string name = subtask.recordName;
  context_.writer().save(std::move(subtask));
  return name;
}

void TaskRules::setTitle(std::string_view task, std::string_view title) const {
  change(task, [&](TaskRecord& changed) { changed.title = trimmingWhiteSpaceAndNewlines(title); });
}

void TaskRules::setDone(std::string_view task, bool done) const {
  change(task, [&](TaskRecord& changed) { changed.done = done; });
}

void TaskRules::setDueDate(std::string_view task, std::optional<Date> dueDate) const {
  change(task, [&](TaskRecord& changed) { changed.dueDate = dueDate; });
}

void TaskRules::move(std::string_view task, std::string_view home) const {
  const auto& cache = context_.cache();
  TaskRecord moved = context_.requireTask(task);
  const std::string homeRef(home);
  if (!cache.areas().contains(homeRef) && !cache.projects().contains(homeRef)) {
    throw CloudKitStoreError::recordNotFound(
        homeRef.starts_with(RecordNames::projectPrefix) ? CKRecordTypes::project : CKRecordTypes::area, home);
  }
  std::vector<TaskRecord> subtasks;
  for (const auto& child : CloudKitCache::namesIn(cache.tasksByParent(), moved.recordName)) {
    subtasks.push_back(cache.tasks().at(child));
  }
  // The new home's top-level tasks (and headers, for a project) are the siblings it joins.
  moved.sortIndex = SortIndex::appended(SortOrder(context_).homeItemIndexes(homeRef));
  moved.homeRef = homeRef;
  moved.parentTaskRef.reset();
  context_.writer().save(std::move(moved));
  for (auto& subtask : subtasks) {
    subtask.homeRef = homeRef;
    context_.writer().save(std::move(subtask));
  }
}

void TaskRules::writeSchedule(const std::string& task, std::optional<Date> date,
                              std::optional<std::string> gapTime) const {
  const auto& cache = context_.cache();
  UserTaskScheduleRecord schedule{.recordName = RecordNames::userTaskSchedule(cache.currentUserRef(), task),
                                  .userRef = cache.currentUserRef(),
                                  .taskRef = task,
                                  .date = date,
                                  .gapTime = gapTime ? std::optional(GapRecord::normalizedTime(*gapTime))
                                                     : std::nullopt};
  if (!schedule.isAllDefaults()) {
    context_.writer().save(std::move(schedule));
  } else if (cache.userTaskSchedules().contains(schedule.recordName)) {
    context_.writer().remove(CKRecordTypes::userTaskSchedule, schedule.recordName);
  }
}

void TaskRules::setSchedule(std::string_view task, std::optional<CalendarDate> day,
                            std::optional<std::string> gapTime) const {
  writeSchedule(context_.requireTask(task).recordName, day ? std::optional(day->noonUTC()) : std::nullopt,
                std::move(gapTime));
}

UndoableAction TaskRules::setSchedules(std::span<const TaskSchedule> schedules) const {
  std::vector<ScheduleMove> moves;
  for (const auto& schedule : schedules) {
    const std::string task = context_.requireTask(schedule.taskID).recordName;
    const auto before = context_.mySchedule(task);
    moves.push_back(
        ScheduleMove{.taskID = task,
                     .fromDate = before ? before->date : std::nullopt,
                     .fromGapTime = before ? before->gapTime : std::nullopt,
                     .toDate = schedule.day ? std::optional(schedule.day->noonUTC()) : std::nullopt,
                     .toGapTime = schedule.gapTime});
  }
  for (const auto& move : moves) {
    writeSchedule(move.taskID, move.toDate, move.toGapTime);
  }
  return UndoableAction{UndoableAction::Schedule{std::move(moves)}};
}

UndoableAction TaskRules::remove(std::span<const std::string> tasks) const {
  const auto& cache = context_.cache();
  std::set<std::string> listed;
  for (const auto& task : tasks) {
    listed.insert(context_.requireTask(task).recordName);
  }
  std::vector<DeletedTaskSnapshot> snapshots;
  for (const auto& task : tasks) {
    const TaskRecord& record = cache.tasks().at(task);
    if (record.parentTaskRef && listed.contains(*record.parentTaskRef)) {
      continue;
    }
    DeletedTaskSnapshot snapshot{
        .task = record, .mySchedule = context_.mySchedule(task), .deletedAt = context_.clock().now()};
    for (const auto& child : CloudKitCache::namesIn(cache.tasksByParent(), task)) {
      snapshot.subtasks.push_back({cache.tasks().at(child), context_.mySchedule(child)});
    }
    snapshots.push_back(std::move(snapshot));
  }
  for (const auto& snapshot : snapshots) {
    // Schedules, then subtasks, then the task, so no moment shows anything whose parent is gone.
    for (const auto& subtask : snapshot.subtasks) {
      if (subtask.mySchedule) {
        context_.writer().remove(CKRecordTypes::userTaskSchedule, subtask.mySchedule->recordName);
      }
      context_.writer().remove(CKRecordTypes::task, subtask.record.recordName);
    }
    if (snapshot.mySchedule) {
      context_.writer().remove(CKRecordTypes::userTaskSchedule, snapshot.mySchedule->recordName);
    }
    context_.writer().remove(CKRecordTypes::task, snapshot.task.recordName);
  }
  return UndoableAction{UndoableAction::DeleteTasks{std::move(snapshots)}};
}

void TaskRules::undo(const UndoableAction& action) const {
  auto& writer = context_.writer();
  if (const auto* deleted = std::get_if<UndoableAction::DeleteTasks>(&action.action)) {
    for (const auto& snapshot : deleted->snapshots) {
      writer.save(snapshot.task);
      for (const auto& subtask : snapshot.subtasks) {
        writer.save(subtask.record);
      }
      if (snapshot.mySchedule) {
        writer.save(*snapshot.mySchedule);
      }
      for (const auto& subtask : snapshot.subtasks) {
        if (subtask.mySchedule) {
          writer.save(*subtask.mySchedule);
        }
      }
    }
  } else {
    for (const auto& move : std::get<UndoableAction::Schedule>(action.action).moves) {
      writeSchedule(move.taskID, move.fromDate, move.fromGapTime);
    }
  }
}

} // namespace vantrel
