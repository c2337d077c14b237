#pragma once

#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/TaskFilter.hpp"

#include <string>
#include <vector>

namespace vantrel {

/// The tasks a filter picks, in the order the planner lists them: area by area (then the projects in no
/// area), each area's own tasks, then its projects and headers in their order, each project's headers and
/// tasks in theirs, and every subtask under its own parent. An area, project or header appears only above
/// tasks it shows; a parent appears for a subtask it holds even when it does not match itself.
struct TaskOutline {
  struct Row {
    enum class Kind { area, project, header, task };
    Kind kind = Kind::task;
    /// 0 for an area; each level below adds one.
    int depth = 0;
    /// Empty for the group of projects that are in no area.
    std::string recordName;
    /// For a task: whether the filter picked it, not only one of its subtasks.
    bool matched = true;
  };

  std::vector<Row> rows;

  static TaskOutline of(const CloudKitCache& cache, const TaskFilter& filter);
};

} // namespace vantrel
