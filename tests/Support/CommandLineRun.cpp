#include "tests/Support/CommandLineRun.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace vantrel::testing {
namespace {

CommandLineRun run(const std::string& program, const std::string& arguments) {
  const char* binaryDir = std::getenv("VANTREL_BINARY_DIR");
  EXPECT_NE(binaryDir, nullptr) << "VANTREL_BINARY_DIR is set by CTest";
  const std::string command = "env -u VANTREL_HOME LANG=en_US.UTF-8 " +
                              std::string(binaryDir ? binaryDir : ".") + "/" + program + " " + arguments +
                              " 2>&1";
  CommandLineRun result;
  FILE* pipe = popen(command.c_str(), "r");
  std::array<char, 4096> buffer{};
  while (const auto read = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    result.output.append(buffer.data(), read);
  }
  const int status = pclose(pipe);
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

} // namespace

CommandLineRun runVantrel(const std::string& arguments) {
  return run("Tools/vantrel/vantrel", arguments);
}

CommandLineRun runVantrelWidget(const std::string& arguments) {
  return run("VantrelMacWidgetExtension/vantrel-widget", arguments);
}

} // namespace vantrel::testing
