#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"

#include <CLI/CLI.hpp>

namespace vantrel::cli {

/// `vantrel open URL`: routes a link the way the planner does when the widget is tapped, and prints the
/// screen it opens.
void addOpenCommand(CLI::App& app, const GlobalOptions& options);

} // namespace vantrel::cli
