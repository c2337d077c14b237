#pragma once

#include "Tools/vantrel/PlannerContext.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

/// `vantrel inbox ...` and `vantrel gap ...`.
void addDayCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context);

} // namespace vantrel::cli
