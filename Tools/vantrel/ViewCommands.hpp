#pragma once

#include "Tools/vantrel/PlannerContext.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

/// `vantrel due` (what is due and overdue) and `vantrel search`.
void addViewCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context);

} // namespace vantrel::cli
