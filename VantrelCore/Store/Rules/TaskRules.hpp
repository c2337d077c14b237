#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Store/NewTaskOptions.hpp"
#include "VantrelCore/Store/Rules/RuleContext.hpp"
#include "VantrelCore/Store/Rules/TaskSchedule.hpp"
#include "VantrelCore/Store/UndoableAction.hpp"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantrel {

/// Tasks and subtasks, where they live, and this user's plan for them. Each checks everything before it
/// writes anything. Deleting and planning answer what would take them back.
class TaskRules {
public:
  explicit TaskRules(const RuleContext& context) : context_(context) {}

  /// A new task at the end of the area's tasks, or where the options say. `aboveFirstSection` is refused
  /// (std::invalid_argument): an area's tasks have no headers.
  std::string addToArea(std::string_view area, std::string_view title,
                        const NewTaskOptions& options = {}) const;
  /// A new task at the end of the project's items, or where the options say.
  std::string addToProject(std::string_view project, std::string_view title,
                           const NewTaskOptions& options = {}) const;
  /// A new task in a home already checked to exist.
  std::string addToHome(std::string homeRef, std::string_view title, const NewTaskOptions& options) const;
  /// A new task directly after the reference (a subtask after a subtask, under the same parent). It takes
  /// the index halfway to the next item; when the two are adjacent the list is renumbered first.
  std::string addBelow(std::string_view referenceTask, std::string_view title) const;
  /// A new task directly after a project header, by the same rule.
  std::string addBelowHeader(std::string_view header, std::string_view title) const;
  /// A subtask after the parent's last subtask, in the parent's home.
  std::string addSubtask(std::string_view parentTask, std::string_view title,
                         std::optional<std::string> recordName = {}) const;
  void setTitle(std::string_view task, std::string_view title) const;
  void setDone(std::string_view task, bool done) const;
  void setDueDate(std::string_view task, std::optional<Date> dueDate) const;
  /// Moves a task, with its subtasks, to another project or area, after the last item there. A subtask
  /// moved on its own becomes a task of the new home.
  void move(std::string_view task, std::string_view home) const;
  /// Plans the task for this user; with neither a day nor a gap time the schedule record is deleted.
  void setSchedule(std::string_view task, std::optional<CalendarDate> day,
                   std::optional<std::string> gapTime) const;
  /// Plans many tasks at once.
  UndoableAction setSchedules(std::span<const TaskSchedule> schedules) const;
  /// Deletes the tasks with their subtasks and this user's schedules of them all (a subtask whose parent
  /// is listed too goes with the parent).
  UndoableAction remove(std::span<const std::string> tasks) const;
  /// Takes the action back through the ordinary writes.
  void undo(const UndoableAction& action) const;

private:
  template <class Change> void change(std::string_view task, Change&& apply) const;
  /// Writes the user's schedule of the task, its gap time as "HH:mm": saved, or deleted when it plans
  /// nothing.
  void writeSchedule(const std::string& task, std::optional<Date> date,
                     std::optional<std::string> gapTime) const;

  const RuleContext& context_;
};

} // namespace vantrel
