#pragma once

#include "Tools/vantrel/PlannerContext.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

/// `vantrel reminders on|off|list|run|agent`: gap reminders scheduled in the profile's notification file
/// and shown as desktop notifications, once by `run` (for a timer) or by `agent`, which stays and sleeps
/// until the next one.
void addReminderCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context);

} // namespace vantrel::cli
