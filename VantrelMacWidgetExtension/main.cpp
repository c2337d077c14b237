#include "Tools/vantrel/CommandEnvironment.hpp"
#include "Tools/vantrel/WidgetCommand.hpp"

#include <CLI/CLI.hpp>
#include <iostream>

// The widget's entry program: the status bar or desktop widget runs it for the timeline of the current
// gap. It reads the files the planner shares with it and never opens the store.
int main(int argc, char** argv) {
  using namespace vantrel::cli;
  CLI::App app("The Vantrel widget: the gap you are in now and its tasks.", "vantrel-widget");
  app.set_version_flag("--version", std::string("vantrel-widget ") + VANTREL_VERSION);
  GlobalOptions options;
  options.addTo(app);
  configureWidgetCommand(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::cerr << "vantrel-widget: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
