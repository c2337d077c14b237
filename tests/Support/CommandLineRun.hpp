#pragma once

#include <string>

namespace vantrel::testing {

/// What a run of one of the built programs printed (standard error folded in) and how it exited.
struct CommandLineRun {
  std::string output;
  int exitCode = -1;
};

/// Runs the built command line program as a person would from a shell: `arguments` as typed, in the
/// en_US locale, without VANTREL_HOME. The build folder comes from VANTREL_BINARY_DIR, which CTest sets.
CommandLineRun runVantrel(const std::string& arguments);
/// The same for the widget's entry program.
CommandLineRun runVantrelWidget(const std::string& arguments);

} // namespace vantrel::testing
