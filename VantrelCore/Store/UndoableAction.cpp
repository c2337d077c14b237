#include "VantrelCore/Store/UndoableAction.hpp"

namespace vantrel {

std::string UndoableAction::menuTitle() const {
  if (const auto* deleted = std::get_if<DeleteTasks>(&action)) {
    const auto count = deleted->snapshots.size();
    return count == 1 ? "Undo Delete Task" : "Undo Delete of " + std::to_string(count) + " Tasks";
  }
  const auto count = std::get<Schedule>(action).moves.size();
  return count == 1 ? "Undo Move" : "Undo Move of " + std::to_string(count) + " Tasks";
}

} // namespace vantrel
