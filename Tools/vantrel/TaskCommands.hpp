#pragma once

#include "Tools/vantrel/PlannerContext.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

/// `vantrel task ...`, `vantrel subtask add` and `vantrel header ...`.
void addTaskCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context);

} // namespace vantrel::cli
