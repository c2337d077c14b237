#pragma once

#include "Tools/vantrel/PlannerContext.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

/// `vantrel demo`: fills a fresh profile with a believable week (areas, projects with headers, tasks and
/// subtasks, the inbox, gaps for seven days with tasks planned into them, and a small calendar folder of
/// two calendars) so that a newcomer sees the whole system work at once. Refuses a profile that holds
/// data.
void addDemoCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context);

} // namespace vantrel::cli
