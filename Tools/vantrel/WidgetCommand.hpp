#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"

#include <CLI/CLI.hpp>

namespace vantrel::cli {

/// The widget's entry on this platform, shared by `vantrel widget` and the entry program: prints the
/// timeline of now (or of `--at`) as JSON, the placeholder or the snapshot entry, or a status-bar line,
/// which `--follow` keeps printing as the day moves on and the shared files change. It reads the two
/// shared files only, never the store.
void configureWidgetCommand(CLI::App& command, const GlobalOptions& options);

/// `vantrel widget` and `vantrel mark-done TASK [--not-done]`, the widget's done toggle: queued for the
/// planner's next run, which applies it.
void addWidgetCommands(CLI::App& app, const GlobalOptions& options);

} // namespace vantrel::cli
