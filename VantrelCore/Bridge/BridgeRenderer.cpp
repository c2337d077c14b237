#include "VantrelCore/Bridge/BridgeRenderer.hpp"

#include "VantrelCore/Bridge/YAMLBridgeSerializer.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"
#include "VantrelCore/Store/ListOrder.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {
namespace {

/// The top-level tasks of a home in their order, and the subtasks of each.
struct HomeTasks {
  std::vector<TaskRecord> tasks;
  YAMLBridgeSerializer::Subtasks subtasks;
};

bool inTaskOrder(const TaskRecord& left, const TaskRecord& right) {
  return std::tie(left.sortIndex, left.recordName) < std::tie(right.sortIndex, right.recordName);
}

HomeTasks tasksOf(const CloudKitCache& cache, const std::string& home) {
  HomeTasks homeTasks;
  for (const auto& name : CloudKitCache::namesIn(cache.tasksByHome(), home)) {
    const auto& task = cache.tasks().at(name);
    if (task.isSubtask()) {
      continue;
    }
    homeTasks.tasks.push_back(task);
    auto& subtasks = homeTasks.subtasks[name];
    for (const auto& child : CloudKitCache::namesIn(cache.tasksByParent(), name)) {
      subtasks.push_back(cache.tasks().at(child));
    }
    std::ranges::sort(subtasks, inTaskOrder);
  }
  std::ranges::sort(homeTasks.tasks, inTaskOrder);
  return homeTasks;
}

} // namespace

std::string BridgeRenderer::projectFile(const CloudKitCache& cache, const std::string& project,
                                        std::optional<Date> lastEdited) {
  const auto& record = cache.projects().at(project);
  auto [tasks, subtasks] = tasksOf(cache, project);
  std::vector<ProjectItem> items;
  for (auto& task : tasks) {
    items.push_back(ProjectItem::task(std::move(task)));
  }
  for (const auto& name : CloudKitCache::namesIn(cache.sectionsByProject(), project)) {
    items.push_back(ProjectItem::header(cache.projectSections().at(name)));
  }
  ProjectItem::sort(items);
  return YAMLBridgeSerializer::renderProject(record, items, lastEdited, cache.myPlacement(project),
                                             cache.myTaskSchedules(), subtasks);
}

std::string BridgeRenderer::areaTasksFile(const CloudKitCache& cache, const std::string& area,
                                          std::optional<Date> lastEdited) {
  const auto [tasks, subtasks] = tasksOf(cache, area);
  return YAMLBridgeSerializer::renderAreaTasks(cache.areas().at(area), tasks, lastEdited,
                                               cache.myTaskSchedules(), subtasks);
}

std::string BridgeRenderer::dayFile(const CloudKitCache& cache, const CalendarDate& day) {
  std::vector<GapRecord> gaps;
  for (const auto& name : CloudKitCache::namesIn(cache.gapIDsByDay(), day.description())) {
    gaps.push_back(cache.gaps().at(name));
  }
  return YAMLBridgeSerializer::renderDay(day, GapScheduling::ordered(std::move(gaps)));
}

std::string BridgeRenderer::inboxFile(const CloudKitCache& cache) {
  std::vector<InboxItemRecord> items;
  for (const auto* item : inListOrder(cache.inbox())) {
    items.push_back(*item);
  }
  return YAMLBridgeSerializer::renderInbox(items);
}

} // namespace vantrel
