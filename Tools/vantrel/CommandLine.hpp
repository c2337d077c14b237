#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

#include <ostream>
#include <span>
#include <string>

namespace vantrel::cli {

/// Runs one `vantrel` command line, as the program does: `arguments` without the program's name. Every
/// file the command reads or writes goes through `fileSystem`; what it prints goes to `out`, and errors and
/// warnings to `err`. Answers the exit status: 0 done, 1 refused or failed ("vantrel: " and the reason on
/// `err`), 2 a usage error.
int runCommandLine(std::span<const std::string> arguments, FileSystem& fileSystem, std::ostream& out,
                   std::ostream& err);

} // namespace vantrel::cli
