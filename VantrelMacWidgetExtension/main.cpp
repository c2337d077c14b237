#include "Tools/vantrel/CommandEnvironment.hpp"
#include "Tools/vantrel/ProgramEntry.hpp"
#include "Tools/vantrel/WidgetCommand.hpp"

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>
#include <sys/stat.h>
#include <vector>

// The widget's entry program: the status bar or desktop widget runs it for the timeline of the current
// gap. It reads the files the planner shares with it and never opens the store.
int main(int argc, char** argv) {
  using namespace vantrel::cli;
  // Whatever it creates (the shared folder, the preferences) is as private as the planner's own files.
  ::umask(077);
  CLI::App app("The Vantrel widget: the gap you are in now and its tasks.", "vantrel-widget");
  app.set_version_flag("--version", std::string("vantrel-widget ") + VANTREL_VERSION);
  GlobalOptions options;
  options.addTo(app);
  configureWidgetCommand(app, options);
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  return runProgram(app, arguments, std::cout, std::cerr);
}
