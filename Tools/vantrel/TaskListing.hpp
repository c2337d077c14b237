#pragma once

#include "Tools/vantrel/PlannerContext.hpp"
#include "VantrelCore/Store/TaskOutline.hpp"

namespace vantrel::cli {

/// Prints an outline of tasks: for people, an indented tree with each task's box, deadline (red once past)
/// and planned day; for scripts, an array of the tasks in the same order.
void printOutline(PlannerRun& run, const TaskOutline& outline);

/// "due Nov 27", in the overdue tone once the deadline of a task not done has passed.
TextTable::Cell dueCell(const std::optional<Date>& due, bool done, Date now, const CalendarDate& today);

} // namespace vantrel::cli
