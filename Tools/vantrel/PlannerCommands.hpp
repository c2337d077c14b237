#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"

#include <CLI/CLI.hpp>

namespace vantrel::cli {

/// The commands that change and show the planner: area, project, header, task, subtask, inbox, gap and
/// undo. Each run opens the profile's store, applies one change, sends it unless `--offline`, writes the
/// snapshot and exits; an add prints the new record name (and the record with `--json`).
void addPlannerCommands(CLI::App& app, const GlobalOptions& options);

} // namespace vantrel::cli
