#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// A task or, when it has a parent task, a subtask.
struct TaskRecord {
  /// "t-" and six characters.
  std::string recordName{};
  /// The task's home: a project ("p-" prefix) or an area.
  std::string homeRef{};
  /// Set for a subtask only.
  std::optional<std::string> parentTaskRef{};
  std::string title{};
  bool done = false;
  std::optional<Date> dueDate{};
  /// Order among siblings: a project's items, an area's tasks, or one parent's subtasks.
  std::int64_t sortIndex = 0;

  /// Whether the home is an area. The "p-" prefix is the only test the system has: an area whose slug
  /// happens to start with "p-" reads as a project home, and that is accepted.
  bool homeIsArea() const { return !std::string_view(homeRef).starts_with("p-"); }
  bool isSubtask() const { return parentTaskRef.has_value(); }

  static constexpr std::string_view typeName = "TaskRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &TaskRecord::recordName},
                      RecordField{"homeRef", &TaskRecord::homeRef},
                      RecordField{"parentTaskRef", &TaskRecord::parentTaskRef},
                      RecordField{"title", &TaskRecord::title},
                      RecordField{"done", &TaskRecord::done},
                      RecordField{"dueDate", &TaskRecord::dueDate},
                      RecordField{"sortIndex", &TaskRecord::sortIndex}};
  }
  friend bool operator==(const TaskRecord&, const TaskRecord&) = default;
};

} // namespace vantrel
