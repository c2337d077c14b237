#include "Tools/vantrel/CommandLine.hpp"

#include "Tools/vantrel/AboutCommand.hpp"
#include "Tools/vantrel/CommandArguments.hpp"
#include "Tools/vantrel/CommandEnvironment.hpp"
#include "Tools/vantrel/Completion.hpp"
#include "Tools/vantrel/OpenCommand.hpp"
#include "Tools/vantrel/PlannerCommands.hpp"
#include "Tools/vantrel/ProgramEntry.hpp"
#include "Tools/vantrel/SyncCommand.hpp"
#include "Tools/vantrel/WidgetCommand.hpp"

#include <CLI/CLI.hpp>
#include <memory>

namespace vantrel::cli {

int runCommandLine(std::span<const std::string> arguments, FileSystem& fileSystem, std::ostream& out,
                   std::ostream& err) {
  CLI::App app("Vantrel: plan your day into the gaps between your calendar events.", "vantrel");
  app.set_version_flag("--version", std::string("vantrel ") + VANTREL_VERSION);
  app.require_subcommand(1);
  // The global options may come after the command too: `vantrel task list --json`.
  app.fallthrough();
  GlobalOptions options;
  options.fileSystem = &fileSystem;
  options.out = &out;
  options.err = &err;
  options.addTo(app);

  auto* about =
      app.add_subcommand("about", "Show the version, the time the run sees and where the files live");
  about->callback([&] { runAboutCommand(CommandEnvironment::make(options)); });

  auto* sync = app.add_subcommand(
      "sync", "Send what waits, fetch what other devices changed, and show what the profile holds");
  sync->callback([&] { runSyncCommand(CommandEnvironment::make(options)); });
  addPlannerCommands(app, options);
  addWidgetCommands(app, options);
  addOpenCommand(app, options);
  addHelpCommand(app, out);

  auto shell = std::make_shared<std::string>();
  auto* completion =
      app.add_subcommand("completion", "Print a script that completes vantrel's commands in a shell");
  argument(*completion, "shell", *shell, "bash, zsh or fish; e.g. source <(vantrel completion bash)");
  completion->callback([&app, &out, shell] { out << completionScript(app, *shell); });
  return runProgram(app, arguments, out, err);
}

} // namespace vantrel::cli
