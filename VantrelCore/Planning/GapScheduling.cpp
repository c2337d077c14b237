#include "VantrelCore/Planning/GapScheduling.hpp"

#include "VantrelCore/Model/CalendarDayReader.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <algorithm>
#include <limits>
#include <tuple>

namespace vantrel {

std::vector<GapRecord> GapScheduling::gaps(std::string_view dayText, const Records<GapRecord>& gaps) {
  std::vector<GapRecord> onDay;
  for (const auto& [name, gap] : gaps) {
    if (gap.dayRef == dayText) {
      onDay.push_back(gap);
    }
  }
  return ordered(std::move(onDay));
}

std::vector<GapRecord> GapScheduling::ordered(std::vector<GapRecord> gaps) {
  std::ranges::sort(gaps, GapRecord::dayOrder);
  return gaps;
}

GapScheduling::ScheduleByTask GapScheduling::scheduleByTask(const Records<UserTaskScheduleRecord>& schedules,
                                                            std::string_view currentUserRef) {
  ScheduleByTask byTask;
  for (const auto& [name, schedule] : schedules) {
    if (schedule.userRef == currentUserRef) {
      byTask.insert_or_assign(schedule.taskRef, schedule);
    }
  }
  return byTask;
}

std::vector<TaskRecord> GapScheduling::scheduledTasks(const CalendarDate& day,
                                                      const Records<TaskRecord>& tasks,
                                                      const ScheduleByTask& scheduleByTask) {
  const CalendarDayReader days(*DeviceSettings::timeZone());
  const CalendarDate localDay = days.dayOf(day.noonUTC());
  std::vector<TaskRecord> planned;
  for (const auto& [name, task] : tasks) {
    if (task.parentTaskRef) {
      continue;
    }
    const auto schedule = scheduleByTask.find(name);
    if (schedule != scheduleByTask.end() && schedule->second.date &&
        days.dayOf(*schedule->second.date) == localDay) {
      planned.push_back(task);
    }
  }
  return planned;
}

std::vector<TaskRecord> GapScheduling::tasksInGap(const GapRecord& gap, std::span<const TaskRecord> tasks,
                                                  const ScheduleByTask& scheduleByTask) {
  // Days compared as scheduledTasks compares them: the local day of the stored noon UTC.
  const CalendarDayReader days(*DeviceSettings::timeZone());
  // Stored day texts are read as the records keep them, unchecked, like every other stored day.
  std::optional<CalendarDate> gapDay;
  try {
    gapDay = CalendarDate::decode(gap.dayRef);
  } catch (const DecodingError&) {
  }
  const CalendarDate localGapDay = gapDay ? days.dayOf(gapDay->noonUTC()) : CalendarDate{};
  std::vector<TaskRecord> inGap;
  for (const auto& task : tasks) {
    const auto schedule = scheduleByTask.find(task.recordName);
    if (schedule == scheduleByTask.end() || !schedule->second.gapTime ||
        !GapRecord::sameTime(*schedule->second.gapTime, gap.time)) {
      continue;
    }
    if (const auto& date = schedule->second.date; date && (!gapDay || days.dayOf(*date) != localGapDay)) {
      continue;
    }
    inGap.push_back(task);
  }
  return inGap;
}

std::vector<TaskRecord> GapScheduling::plannedOrder(std::vector<TaskRecord> tasks,
                                                    const Records<AreaRecord>& areas,
                                                    const PlacementOf& placement) {
  constexpr auto last = std::numeric_limits<std::int64_t>::max();
  constexpr auto first = std::numeric_limits<std::int64_t>::min();
  const auto areaIndex = [&](const std::string& area) {
    const auto found = areas.find(area);
    return found == areas.end() ? last : found->second.sortIndex;
  };
  // (area's index, project's index in the area, home, task's index, name), made once per task; an area's
  // own tasks sort before its projects'.
  using Key = std::tuple<std::int64_t, std::int64_t, std::string_view, std::int64_t, std::string_view>;
  std::vector<std::pair<Key, std::size_t>> keys;
  for (std::size_t index = 0; index < tasks.size(); ++index) {
    const TaskRecord& task = tasks[index];
    Key key{last, last, task.homeRef, task.sortIndex, task.recordName};
    if (task.homeIsArea()) {
      std::get<0>(key) = areaIndex(task.homeRef);
      std::get<1>(key) = first;
    } else if (const auto* placed = placement(task.homeRef)) {
      std::get<0>(key) = areaIndex(placed->areaRef);
      std::get<1>(key) = placed->sortIndex;
    }
    keys.emplace_back(key, index);
  }
  std::ranges::sort(keys);
  std::vector<TaskRecord> ordered;
  ordered.reserve(tasks.size());
  for (const auto& [key, index] : keys) {
    ordered.push_back(std::move(tasks[index]));
  }
  return ordered;
}

} // namespace vantrel
