#include "Tools/vantrel/CommandLine.hpp"

#include "Tools/vantrel/AboutCommand.hpp"
#include "Tools/vantrel/CommandEnvironment.hpp"
#include "Tools/vantrel/OpenCommand.hpp"
#include "Tools/vantrel/PlannerCommands.hpp"
#include "Tools/vantrel/ProgramEntry.hpp"
#include "Tools/vantrel/SyncCommand.hpp"
#include "Tools/vantrel/WidgetCommand.hpp"

#include <CLI/CLI.hpp>
#include <iostream>

namespace vantrel::cli {

int runCommandLine(std::span<const std::string> arguments, FileSystem& fileSystem) {
  CLI::App app("Vantrel: plan your day into the gaps between your calendar events.", "vantrel");
  app.set_version_flag("--version", std::string("vantrel ") + VANTREL_VERSION);
  app.require_subcommand(1);
  GlobalOptions options;
  options.fileSystem = &fileSystem;
  options.addTo(app);

  auto* about =
      app.add_subcommand("about", "Show the version, the time the run sees and where the files live");
  about->callback([&] { runAboutCommand(CommandEnvironment::make(options), std::cout); });

  auto* sync = app.add_subcommand(
      "sync", "Send what waits, fetch what other devices changed, and show what the profile holds");
  sync->callback([&] { runSyncCommand(CommandEnvironment::make(options), std::cout); });
  addPlannerCommands(app, options);
  addWidgetCommands(app, options);
  addOpenCommand(app, options);
  return runProgram(app, arguments);
}

} // namespace vantrel::cli
