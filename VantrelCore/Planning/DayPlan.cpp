#include "VantrelCore/Planning/DayPlan.hpp"

#include "VantrelCore/Planning/CalendarGapEngine.hpp"
#include "VantrelCore/Planning/GapEndDerivation.hpp"

#include <algorithm>
#include <ranges>
#include <set>
#include <tuple>
#include <utility>

namespace vantrel {

bool DayPlan::Gap::isCurrentAt(Date instant) const {
  return start && *start <= instant && currentUntil && instant < *currentUntil;
}

DayPlan DayPlan::of(const CalendarDate& day, const DayRecords& records, std::vector<CalendarEvent> events,
                    const CalendarGapPreferences& windows) {
  DayPlan view{.day = day, .events = std::move(events)};
  std::ranges::sort(view.events, CalendarEvent::dayDisplayOrder);
  view.openWindows = CalendarGapEngine::openWindows(day, view.events, windows);

  std::vector<TaskRecord> topLevel;
  for (const auto& [name, task] : records.tasks) {
    if (task.parentTaskRef) {
      view.subtasks[*task.parentTaskRef].push_back(task);
    } else {
      topLevel.push_back(task);
    }
  }
  for (auto& [parent, subtasks] : view.subtasks) {
    std::ranges::sort(subtasks, [](const TaskRecord& left, const TaskRecord& right) {
      return std::tie(left.sortIndex, left.recordName) < std::tie(right.sortIndex, right.recordName);
    });
  }
  const auto planned =
      GapScheduling::plannedOrder(std::move(topLevel), records.areas, [&](const std::string& project) {
        const auto found = records.placements.find(project);
        return found == records.placements.end() ? nullptr : &found->second;
      });

  const auto& gaps = records.gaps;
  const auto ends = GapEndDerivation::endsOfEach(gaps, day, view.events, windows);
  std::set<std::string> inAGap;
  for (std::size_t index = 0; index < gaps.size(); ++index) {
    auto tasks = GapScheduling::tasksInGap(gaps[index], planned, records.schedules);
    for (const auto& task : tasks) {
      inAGap.insert(task.recordName);
    }
    view.gaps.push_back({.record = gaps[index],
                         .start = ends[index].start,
                         .end = ends[index].end,
                         .currentUntil = ends[index].currentUntil,
                         .tasks = std::move(tasks)});
  }
  for (const auto& task : planned) {
    if (!inAGap.contains(task.recordName)) {
      view.withoutGap.push_back(task);
    }
  }
  return view;
}

const DayPlan::Gap* DayPlan::currentGap(Date instant) const {
  const auto found = std::ranges::find_if(gaps, [&](const Gap& gap) { return gap.isCurrentAt(instant); });
  return found == gaps.end() ? nullptr : &*found;
}

const DayPlan::Gap* DayPlan::nextGap(Date instant) const {
  const auto found =
      std::ranges::find_if(gaps, [&](const Gap& gap) { return gap.start && instant < *gap.start; });
  return found == gaps.end() ? nullptr : &*found;
}

const std::vector<TaskRecord>& DayPlan::subtasksOf(const std::string& task) const {
  static const std::vector<TaskRecord> none;
  const auto found = subtasks.find(task);
  return found == subtasks.end() ? none : found->second;
}

} // namespace vantrel
