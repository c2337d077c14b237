#include "Tools/vantrel/AboutCommand.hpp"
#include "Tools/vantrel/CommandEnvironment.hpp"
#include "Tools/vantrel/OpenCommand.hpp"
#include "Tools/vantrel/PlannerCommands.hpp"
#include "Tools/vantrel/SyncCommand.hpp"
#include "Tools/vantrel/WidgetCommand.hpp"

#include <CLI/CLI.hpp>
#include <iostream>

int main(int argc, char** argv) {
  using namespace vantrel::cli;
  CLI::App app("Vantrel: plan your day into the gaps between your calendar events.", "vantrel");
  app.set_version_flag("--version", std::string("vantrel ") + VANTREL_VERSION);
  app.require_subcommand(1);
  GlobalOptions options;
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

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::cerr << "vantrel: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
