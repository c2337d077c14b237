#pragma once

#include "VantrelCore/Model/ProjectRecord.hpp"
#include "VantrelCore/Model/ProjectSectionRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

/// This user's copy of the projects others shared with them: the projects, their tasks and sections, and
/// each record's kept bookkeeping. Filled by the shared sync engine; saved as "shared-records.bin".
struct SharedRecordStore {
  std::unordered_map<std::string, ProjectRecord> projects{};
  std::unordered_map<std::string, TaskRecord> tasks{};
  std::unordered_map<std::string, ProjectSectionRecord> sections{};
  /// Record name to the record's system-fields bytes.
  std::map<std::string, std::string> systemFields{};

  /// The shared projects by name, then record name: the sidebar's group of projects shared with the user.
  std::vector<ProjectRecord> projectList() const;
  /// The project's tasks, subtasks included, in sort order.
  std::vector<TaskRecord> tasksInProject(std::string_view projectRecordName) const;
  std::size_t taskCount(std::string_view projectRecordName) const;
  void removeAll();

  /// One JSON object with "projects", "tasks", "sections" and "systemFields" (bytes as hex).
  std::string encodeJSON() const;
  /// Missing keys read as empty; a malformed record or field fails as a whole with a DecodingError.
  static SharedRecordStore decodeJSON(std::string_view text);

  friend bool operator==(const SharedRecordStore&, const SharedRecordStore&) = default;
};

} // namespace vantrel
