#include "VantrelCore/Store/PlannerQueries.hpp"

#include "VantrelCore/Store/TaskFilter.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {

DayRecords PlannerQueries::dayRecords(const CloudKitCache& cache, const CalendarDate& day) {
  DayRecords records{.gaps = GapScheduling::gaps(day.description(), cache.gaps()), .areas = cache.areas()};
  const auto schedules = GapScheduling::scheduleByTask(cache.userTaskSchedules(), cache.currentUserRef());
  for (auto& task : GapScheduling::scheduledTasks(day, cache.tasks(), schedules)) {
    records.schedules.emplace(task.recordName, schedules.at(task.recordName));
    if (const auto children = cache.tasksByParent().find(task.recordName);
        children != cache.tasksByParent().end()) {
      for (const auto& child : children->second) {
        records.tasks.emplace(child, cache.tasks().at(child));
      }
    }
    records.tasks.emplace(task.recordName, std::move(task));
  }
  for (const auto& [name, task] : records.tasks) {
    if (const auto* placement = task.homeIsArea() ? nullptr : cache.myPlacement(task.homeRef)) {
      records.placements.emplace(task.homeRef, *placement);
    }
  }
  return records;
}

std::vector<PlannerQueries::Deadline> PlannerQueries::deadlinesBefore(const CloudKitCache& cache,
                                                                      Date until) {
  std::vector<Deadline> deadlines;
  for (const auto& [name, task] : cache.tasks()) {
    if (!task.done && task.dueDate && *task.dueDate < until) {
      deadlines.push_back({name, task.title, false, *task.dueDate});
    }
  }
  for (const auto& [name, project] : cache.projects()) {
    if (!project.isArchived() && project.dueDate && *project.dueDate < until) {
      deadlines.push_back({name, project.name, true, *project.dueDate});
    }
  }
  std::ranges::sort(deadlines, [](const Deadline& left, const Deadline& right) {
    return std::tie(left.due, left.title, left.recordName) <
           std::tie(right.due, right.title, right.recordName);
  });
  return deadlines;
}

std::vector<PlannerQueries::Match> PlannerQueries::search(const CloudKitCache& cache,
                                                          std::string_view words) {
  std::vector<Match> matches;
  const auto add = [&](Match::Kind kind, const std::string& name, const std::string& title,
                       const std::optional<std::string>& text, const char* textField) {
    if (containsFolded(title, words)) {
      matches.push_back({kind, name, title, "title"});
    } else if (text && containsFolded(*text, words)) {
      matches.push_back({kind, name, title, textField});
    }
  };
  for (const auto& [name, area] : cache.areas()) {
    add(Match::Kind::area, name, area.name, std::nullopt, "");
  }
  for (const auto& [name, project] : cache.projects()) {
    add(Match::Kind::project, name, project.name, project.purpose, "purpose");
  }
  for (const auto& [name, task] : cache.tasks()) {
    add(Match::Kind::task, name, task.title, std::nullopt, "");
  }
  for (const auto& [name, item] : cache.inbox()) {
    add(Match::Kind::inboxItem, name, item.title, item.notes, "notes");
  }
  std::ranges::sort(matches, [](const Match& left, const Match& right) {
    return std::tie(left.kind, left.title, left.recordName) <
           std::tie(right.kind, right.title, right.recordName);
  });
  return matches;
}

} // namespace vantrel
