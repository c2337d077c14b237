#include "Linux/PosixFileSystem.hpp"
#include "Tools/vantrel/CommandLine.hpp"

#include <string>
#include <vector>

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  return vantrel::cli::runCommandLine(arguments, vantrel::PosixFileSystem::shared());
}
