#include "Linux/PosixFileSystem.hpp"
#include "Tools/vantrel/CommandLine.hpp"

#include <iostream>
#include <string>
#include <sys/stat.h>
#include <vector>

int main(int argc, char** argv) {
  // The profile holds a person's plans: whatever the umask, nothing this process creates is readable by
  // others, also files made by libraries (SQLite) that ask for wider modes.
  ::umask(077);
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  return vantrel::cli::runCommandLine(arguments, vantrel::PosixFileSystem::shared(), std::cout, std::cerr);
}
