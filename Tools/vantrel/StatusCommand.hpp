#pragma once

#include "Tools/vantrel/PlannerContext.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

/// `vantrel status [--dismiss]`: after a send and fetch (unless `--offline`), how syncing goes: health,
/// writes waiting and since when, the last fetch, the last conflict and the banner (closed first with
/// `--dismiss`); JSON with `--json`.
void addStatusCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context);

} // namespace vantrel::cli
