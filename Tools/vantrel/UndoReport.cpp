#include "Tools/vantrel/UndoReport.hpp"

#include "Tools/vantrel/LocalFormat.hpp"

#include <algorithm>
#include <variant>

namespace vantrel::cli {
namespace {

std::string titleOf(const std::string& task, const CloudKitCache& cache) {
  const auto found = cache.tasks().find(task);
  return "'" + (found == cache.tasks().end() ? task : found->second.title) + "'";
}

/// "'A'", "'A' and 'B'", "'A', 'B' and 2 more".
std::string titles(const std::vector<std::string>& names) {
  constexpr std::size_t shown = 2;
  std::string text;
  for (std::size_t index = 0; index < names.size() && index < shown; ++index) {
    text += (index == 0 ? "" : index + 1 == names.size() ? " and " : ", ") + names[index];
  }
  if (names.size() > shown) {
    text += " and " + std::to_string(names.size() - shown) + " more";
  }
  return text;
}

std::string placeOf(const ScheduleMove& move, const CalendarDate& today) {
  if (!move.fromDate) {
    return "Anyday";
  }
  const auto day = LocalFormat::shortDay(CalendarDate::localDayOf(*move.fromDate), today);
  return move.fromGapTime ? day + ", gap " + LocalFormat::timeOfDay(*move.fromGapTime) : day;
}

} // namespace

std::string undoReport(const UndoableAction& action, const CloudKitCache& cache, const CalendarDate& today) {
  if (const auto* deleted = std::get_if<UndoableAction::DeleteTasks>(&action.action)) {
    std::vector<std::string> names;
    std::size_t subtasks = 0;
    for (const auto& snapshot : deleted->snapshots) {
      names.push_back(titleOf(snapshot.task.recordName, cache));
      subtasks += snapshot.subtasks.size();
    }
    return "Restored " + titles(names) +
           (subtasks == 0 ? ""
                          : " with " + std::to_string(subtasks) + (subtasks == 1 ? " subtask" : " subtasks"));
  }
  const auto& moves = std::get<UndoableAction::Schedule>(action.action).moves;
  std::vector<std::string> names;
  for (const auto& move : moves) {
    names.push_back(titleOf(move.taskID, cache));
  }
  if (moves.empty()) {
    return "Took back a move of no tasks";
  }
  const bool samePlace = std::ranges::all_of(moves, [&](const ScheduleMove& move) {
    return move.fromDate == moves.front().fromDate && move.fromGapTime == moves.front().fromGapTime;
  });
  return "Moved " + titles(names) + " back " +
         (samePlace ? "to " + placeOf(moves.front(), today) : "where they were");
}

} // namespace vantrel::cli
