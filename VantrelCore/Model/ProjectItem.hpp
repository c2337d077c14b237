#pragma once

#include "VantrelCore/Model/ProjectSectionRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vantrel {

/// One row of a project's content list: a header or a top-level task. Built on demand, never stored.
struct ProjectItem {
  std::string id;
  std::int64_t sortIndex = 0;
  std::variant<ProjectSectionRecord, TaskRecord> kind;

  static ProjectItem header(ProjectSectionRecord header);
  static ProjectItem task(TaskRecord task);

  bool isHeader() const { return std::holds_alternative<ProjectSectionRecord>(kind); }
  bool isTask() const { return std::holds_alternative<TaskRecord>(kind); }

  /// Ascending sort index; equal indexes fall back to the id so the order is the same on every device.
  static void sort(std::vector<ProjectItem>& items);

  friend bool operator==(const ProjectItem&, const ProjectItem&) = default;
};

} // namespace vantrel
