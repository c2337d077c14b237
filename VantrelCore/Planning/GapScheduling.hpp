#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

/// The queries a day's plan is made of, over the record maps as the cache holds them, so that every
/// screen, the reminders and the widget order and filter alike. Pure; they never write.
class GapScheduling {
public:
  template <class Record> using Records = std::unordered_map<std::string, Record>;
  /// Task record name to the current user's schedule of it.
  using ScheduleByTask = std::unordered_map<std::string, UserTaskScheduleRecord>;
  /// The current user's placement of a project; null when the user has not placed it.
  using PlacementOf = std::function<const UserProjectPlacementRecord*(const std::string& project)>;

  GapScheduling() = delete;

  /// The gaps whose `dayRef` is exactly `dayText`, in display order.
  static std::vector<GapRecord> gaps(std::string_view dayText, const Records<GapRecord>& gaps);
  /// By time of day ("9:05" before "13:00", and the same time as "09:05"), then by sort index.
  static std::vector<GapRecord> ordered(std::vector<GapRecord> gaps);
  /// The schedules of `currentUserRef` by the task they plan; other users' never reach this user's plan.
  static ScheduleByTask scheduleByTask(const Records<UserTaskScheduleRecord>& schedules,
                                       std::string_view currentUserRef);
  /// The top-level tasks whose schedule's date falls on the day, in the device zone; in no set order.
  static std::vector<TaskRecord> scheduledTasks(const CalendarDate& day, const Records<TaskRecord>& tasks,
                                                const ScheduleByTask& scheduleByTask);
  /// The tasks among `tasks` planned into the gap: their schedule's gap time is the gap's time of day, and
  /// its date, when it has one, falls on the gap's day in the device zone.
  static std::vector<TaskRecord> tasksInGap(const GapRecord& gap, std::span<const TaskRecord> tasks,
                                            const ScheduleByTask& scheduleByTask);
  /// The order of the plan views: by the sort index of the area a task belongs to (its home, or the area
  /// of the user's placement of its project; tasks of unplaced projects last), an area's own tasks before
  /// its projects', projects by the user's placement order, then the task's sort index and name.
  static std::vector<TaskRecord> plannedOrder(std::vector<TaskRecord> tasks, const Records<AreaRecord>& areas,
                                              const PlacementOf& placement);
};

} // namespace vantrel
