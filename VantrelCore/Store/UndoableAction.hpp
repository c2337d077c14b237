#pragma once

#include "VantrelCore/Store/DeletedTaskSnapshot.hpp"
#include "VantrelCore/Store/ScheduleMove.hpp"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vantrel {

/// The one operation the store can take back: deleting tasks, or moving tasks between days and gaps.
struct UndoableAction {
  struct DeleteTasks {
    std::vector<DeletedTaskSnapshot> snapshots;
    friend bool operator==(const DeleteTasks&, const DeleteTasks&) = default;
  };
  struct Schedule {
    std::vector<ScheduleMove> moves;
    friend bool operator==(const Schedule&, const Schedule&) = default;
  };

  std::variant<DeleteTasks, Schedule> action;

  /// "Undo Delete Task", "Undo Delete of 3 Tasks", "Undo Move", "Undo Move of 2 Tasks"; an empty list
  /// takes the plural form.
  std::string menuTitle() const;

  /// Compact JSON, for a program that must remember the action between runs.
  std::string encodeJSON() const;
  /// Throws DecodingError naming where the text is not what encodeJSON() writes.
  static UndoableAction decodeJSON(std::string_view text);

  friend bool operator==(const UndoableAction&, const UndoableAction&) = default;
};

} // namespace vantrel
