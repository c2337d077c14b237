#pragma once

#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <vector>

namespace vantrel {

/// Everything needed to bring one deleted task back under its old name: the task, its subtasks, and the
/// current user's schedules of them.
struct DeletedTaskSnapshot {
  struct Subtask {
    TaskRecord record{};
    std::optional<UserTaskScheduleRecord> mySchedule{};

    friend bool operator==(const Subtask&, const Subtask&) = default;
  };

  TaskRecord task{};
  std::optional<UserTaskScheduleRecord> mySchedule{};
  std::vector<Subtask> subtasks{};
  Date deletedAt{};

  friend bool operator==(const DeletedTaskSnapshot&, const DeletedTaskSnapshot&) = default;
};

} // namespace vantrel
