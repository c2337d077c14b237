#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"
#include "Tools/vantrel/Output.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/ListOrder.hpp"
#include "VantrelCore/Store/RecordLookup.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace vantrel::cli {

/// What one planner command works with: the started store, the run's environment and output, and the
/// lookup of the names people type.
struct PlannerRun {
  CloudKitStore& store;
  const CommandEnvironment& environment;
  Output& output;
  RecordLookup find;
  CalendarDate today;

  const CloudKitCache& cache() const { return store.cache(); }
};

/// What the planner commands share: the global options, `--offline`, and the program's command tree.
struct PlannerContext {
  using Step = std::function<void(PlannerRun&)>;

  const GlobalOptions& options;
  const CLI::App& app;
  bool offline = false;

  /// Runs `change` on a started store, then sends and saves (unless `--offline`), then runs `report`
  /// (which sees what the send and fetch brought). What `change` prints is held until its change is on
  /// disk. A refused argument or name changes nothing and raises no banner; a failure of the store or the
  /// cloud becomes the banner's message, thrown as the command's error.
  void run(const Step& change, const Step& report = {}) const;
  /// A command that only shows: the store started and saved as for a change, then `view`.
  void view(const Step& view) const { run({}, view); }
  /// The command being run, as typed: "task add".
  std::string commandName() const;
};

/// 'Title', quoted for a confirmation line.
std::string inQuotes(std::string_view title);

} // namespace vantrel::cli
