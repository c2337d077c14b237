#include "VantrelCore/Store/DayPlan.hpp"

#include "VantrelCore/Planning/CalendarGapEngine.hpp"
#include "VantrelCore/Planning/GapEndDerivation.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

namespace vantrel {

DayPlan DayPlan::of(const CalendarDate& day, const CloudKitCache& cache, std::vector<CalendarEvent> events,
                    const CalendarGapPreferences& windows, Date now) {
  DayPlan view{.day = day, .events = std::move(events)};
  std::ranges::sort(view.events, CalendarEvent::dayDisplayOrder);
  view.openWindows = CalendarGapEngine::openWindows(day, view.events, windows);
  const auto scheduleByTask =
      GapScheduling::scheduleByTask(cache.userTaskSchedules(), cache.currentUserRef());
  const auto planned = GapScheduling::plannedOrder(
      GapScheduling::scheduledTasks(day, cache.tasks(), scheduleByTask), cache.areas(),
      [&](const std::string& project) { return cache.myPlacement(project); });
  const auto gaps = GapScheduling::gaps(day.description(), cache.gaps());
  std::set<std::string> inAGap;
  for (const auto& gap : gaps) {
    auto tasks = GapScheduling::tasksInGap(gap, planned, scheduleByTask);
    for (const auto& task : tasks) {
      inAGap.insert(task.recordName);
    }
    view.gaps.push_back({.record = gap,
                         .start = GapEndDerivation::startDate(gap, day),
                         .end = GapEndDerivation::info(gap, day, gaps, view.events, windows),
                         .tasks = std::move(tasks)});
  }
  for (const auto& task : planned) {
    if (const auto children = cache.tasksByParent().find(task.recordName);
        children != cache.tasksByParent().end()) {
      auto& list = view.subtasks[task.recordName];
      for (const auto& name : children->second) {
        list.push_back(cache.tasks().at(name));
      }
      std::ranges::sort(list, [](const TaskRecord& left, const TaskRecord& right) {
        return std::tie(left.sortIndex, left.recordName) < std::tie(right.sortIndex, right.recordName);
      });
    }
  }
  // The clock is in the last gap that has started, until that gap ends.
  for (auto gap = view.gaps.rbegin(); gap != view.gaps.rend(); ++gap) {
    if (gap->start && *gap->start <= now) {
      gap->current = !(gap->end && gap->end->end && *gap->end->end <= now);
      break;
    }
  }
  // A task whose gap time names no gap of the day is still planned on the day.
  for (const auto& task : planned) {
    if (!inAGap.contains(task.recordName)) {
      view.withoutGap.push_back(task);
    }
  }
  return view;
}

} // namespace vantrel
