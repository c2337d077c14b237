// The operations that can be taken back, and taking them back.
#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <set>

namespace vantrel {

std::optional<UserTaskScheduleRecord> CloudKitStore::mySchedule(const std::string& task) const {
  const auto found = cache_.myTaskSchedules().find(task);
  return found == cache_.myTaskSchedules().end() ? std::nullopt : std::optional(found->second);
}

void CloudKitStore::writeSchedule(const std::string& task, std::optional<Date> date,
                                  std::optional<std::string> gapTime) {
  UserTaskScheduleRecord schedule{.recordName = RecordNames::userTaskSchedule(cache_.currentUserRef(), task),
                                  .userRef = cache_.currentUserRef(),
                                  .taskRef = task,
                                  .date = date,
                                  .gapTime = std::move(gapTime)};
  if (!schedule.isAllDefaults()) {
    saveRecord(schedule);
  } else if (cache_.userTaskSchedules().contains(schedule.recordName)) {
    deleteRecord(CKRecordTypes::userTaskSchedule, schedule.recordName);
  }
}

void CloudKitStore::deleteTask(std::string_view task) {
  const std::string name(task);
  deleteTasks(std::span(&name, 1));
}

void CloudKitStore::deleteTasks(std::span<const std::string> tasks) {
  guardWrite();
  const WriteBatch batch(*this);
  std::set<std::string> listed;
  for (const auto& task : tasks) {
    listed.insert(requireTask(task).recordName);
  }
  std::vector<DeletedTaskSnapshot> snapshots;
  for (const auto& task : tasks) {
    const TaskRecord& record = cache_.tasks().at(task);
    if (record.parentTaskRef && listed.contains(*record.parentTaskRef)) {
      continue;
    }
    DeletedTaskSnapshot snapshot{
        .task = record, .mySchedule = mySchedule(task), .deletedAt = environment_.clock.now()};
    if (const auto children = cache_.tasksByParent().find(task); children != cache_.tasksByParent().end()) {
      for (const auto& child : children->second) {
        snapshot.subtasks.push_back({cache_.tasks().at(child), mySchedule(child)});
      }
    }
    snapshots.push_back(std::move(snapshot));
  }
  for (const auto& snapshot : snapshots) {
    // Schedules, then subtasks, then the task, so no moment shows anything whose parent is gone.
    for (const auto& subtask : snapshot.subtasks) {
      if (subtask.mySchedule) {
        deleteRecord(CKRecordTypes::userTaskSchedule, subtask.mySchedule->recordName);
      }
      deleteRecord(CKRecordTypes::task, subtask.record.recordName);
    }
    if (snapshot.mySchedule) {
      deleteRecord(CKRecordTypes::userTaskSchedule, snapshot.mySchedule->recordName);
    }
    deleteRecord(CKRecordTypes::task, snapshot.task.recordName);
  }
  lastUndoable_ = UndoableAction{UndoableAction::DeleteTasks{std::move(snapshots)}};
}

void CloudKitStore::setTaskSchedules(std::span<const TaskSchedule> schedules) {
  guardWrite();
  const WriteBatch batch(*this);
  std::vector<ScheduleMove> moves;
  for (const auto& schedule : schedules) {
    const std::string task = requireTask(schedule.taskID).recordName;
    const auto before = mySchedule(task);
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
  lastUndoable_ = UndoableAction{UndoableAction::Schedule{std::move(moves)}};
}

void CloudKitStore::setTaskSchedules(std::span<const std::string> tasks, std::optional<CalendarDate> day,
                                     std::optional<std::string> gapTime) {
  std::vector<TaskSchedule> schedules;
  for (const auto& task : tasks) {
    schedules.push_back({task, day, gapTime});
  }
  setTaskSchedules(schedules);
}

void CloudKitStore::undoLast() {
  if (!lastUndoable_) {
    return;
  }
  guardWrite();
  const WriteBatch batch(*this);
  if (const auto* deleted = std::get_if<UndoableAction::DeleteTasks>(&lastUndoable_->action)) {
    for (const auto& snapshot : deleted->snapshots) {
      saveRecord(snapshot.task);
      for (const auto& subtask : snapshot.subtasks) {
        saveRecord(subtask.record);
      }
      if (snapshot.mySchedule) {
        saveRecord(*snapshot.mySchedule);
      }
      for (const auto& subtask : snapshot.subtasks) {
        if (subtask.mySchedule) {
          saveRecord(*subtask.mySchedule);
        }
      }
    }
  } else {
    for (const auto& move : std::get<UndoableAction::Schedule>(lastUndoable_->action).moves) {
      writeSchedule(move.taskID, move.fromDate, move.fromGapTime);
    }
  }
  lastUndoable_.reset();
}

} // namespace vantrel
