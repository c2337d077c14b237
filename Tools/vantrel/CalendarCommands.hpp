#pragma once

#include "Tools/vantrel/PlannerContext.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

/// Where the calendars are read from: the folder (or .ics file) the user named with `calendars use`, in
/// the standard preferences.
constexpr std::string_view calendarFolderKey = "com.vantrel.calendarFolder";

/// `vantrel calendars use FOLDER|list|block ID|unblock ID`: which calendars the planner reads, and
/// `vantrel today [DATE]`: the day as the planner sees it, events, open time, gaps and their tasks.
void addCalendarCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context);

} // namespace vantrel::cli
