#include "VantrelCore/Store/TaskOutline.hpp"

#include "VantrelCore/Model/AreaItem.hpp"
#include "VantrelCore/Model/ProjectItem.hpp"
#include "VantrelCore/Store/ListOrder.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {
namespace {

using Row = TaskOutline::Row;

/// Adds rows, keeping the heading rows (area, project, header) back until a task comes under them.
class OutlineBuilder {
public:
  OutlineBuilder(const CloudKitCache& cache, const TaskFilter& filter) : cache_(cache), filter_(filter) {}

  void heading(Row::Kind kind, int depth, std::string recordName) {
    while (!pending_.empty() && pending_.back().depth >= depth) {
      pending_.pop_back();
    }
    pending_.push_back({kind, depth, std::move(recordName), true});
  }

  /// A top-level task and its subtasks, when any of them matches.
  void task(const TaskRecord& task, int depth) {
    const bool matched = filter_.matches(task, cache_);
    std::vector<const TaskRecord*> subtasks;
    for (const auto& name : CloudKitCache::namesIn(cache_.tasksByParent(), task.recordName)) {
      const auto& subtask = cache_.tasks().at(name);
      if (filter_.matches(subtask, cache_)) {
        subtasks.push_back(&subtask);
      }
    }
    if (!matched && subtasks.empty()) {
      return;
    }
    while (!pending_.empty() && pending_.back().depth >= depth) {
      pending_.pop_back();
    }
    rows_.insert(rows_.end(), pending_.begin(), pending_.end());
    pending_.clear();
    rows_.push_back({Row::Kind::task, depth, task.recordName, matched});
    std::ranges::sort(subtasks, [](const TaskRecord* left, const TaskRecord* right) {
      return std::tie(left->sortIndex, left->recordName) < std::tie(right->sortIndex, right->recordName);
    });
    for (const auto* subtask : subtasks) {
      rows_.push_back({Row::Kind::task, depth + 1, subtask->recordName, true});
    }
  }

  void project(const std::string& project, int depth) {
    heading(Row::Kind::project, depth, project);
    std::vector<ProjectItem> items;
    for (const auto& name : CloudKitCache::namesIn(cache_.tasksByHome(), project)) {
      items.push_back(ProjectItem::task(cache_.tasks().at(name)));
    }
    for (const auto& name : CloudKitCache::namesIn(cache_.sectionsByProject(), project)) {
      items.push_back(ProjectItem::header(cache_.projectSections().at(name)));
    }
    ProjectItem::sort(items);
    bool underHeader = false;
    for (const auto& item : items) {
      if (item.isHeader()) {
        heading(Row::Kind::header, depth + 1, item.id);
        underHeader = true;
      } else {
        task(std::get<TaskRecord>(item.kind), depth + (underHeader ? 2 : 1));
      }
    }
  }

  std::vector<Row> rows() && { return std::move(rows_); }

private:
  const CloudKitCache& cache_;
  const TaskFilter& filter_;
  std::vector<Row> pending_;
  std::vector<Row> rows_;
};

} // namespace

TaskOutline TaskOutline::of(const CloudKitCache& cache, const TaskFilter& filter) {
  OutlineBuilder outline(cache, filter);
  for (const auto* area : inListOrder(cache.areas())) {
    outline.heading(Row::Kind::area, 0, area->recordName);
    std::vector<const TaskRecord*> own;
    for (const auto& name : CloudKitCache::namesIn(cache.tasksByHome(), area->recordName)) {
      own.push_back(&cache.tasks().at(name));
    }
    std::ranges::sort(own, [](const TaskRecord* left, const TaskRecord* right) {
      return std::tie(left->sortIndex, left->recordName) < std::tie(right->sortIndex, right->recordName);
    });
    for (const auto* task : own) {
      outline.task(*task, 1);
    }
    std::vector<AreaItem> items;
    for (const auto& name : CloudKitCache::namesIn(cache.projectsInArea(), area->recordName)) {
      items.push_back(AreaItem::project(cache.projects().at(name), cache.myPlacement(name)->sortIndex));
    }
    for (const auto& name : CloudKitCache::namesIn(cache.areaSectionsByArea(), area->recordName)) {
      const auto& header = cache.areaSections().at(name);
      if (header.userRef == cache.currentUserRef()) {
        items.push_back(AreaItem::header(header));
      }
    }
    AreaItem::sort(items);
    bool underHeader = false;
    for (const auto& item : items) {
      if (item.isHeader()) {
        outline.heading(Row::Kind::header, 1, item.id);
        underHeader = true;
      } else {
        outline.project(item.id, underHeader ? 2 : 1);
      }
    }
  }
  outline.heading(Row::Kind::area, 0, "");
  std::vector<const ProjectRecord*> unplaced;
  for (const auto& [name, project] : cache.projects()) {
    const auto* placement = cache.myPlacement(name);
    if (!placement || !cache.areas().contains(placement->areaRef)) {
      unplaced.push_back(&project);
    }
  }
  std::ranges::sort(unplaced, [](const ProjectRecord* left, const ProjectRecord* right) {
    return std::tie(left->name, left->recordName) < std::tie(right->name, right->recordName);
  });
  for (const auto* project : unplaced) {
    outline.project(project->recordName, 1);
  }
  return {std::move(outline).rows()};
}

} // namespace vantrel
