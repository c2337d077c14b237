#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

#include <span>
#include <string>

namespace vantrel::cli {

/// Runs one `vantrel` command line, as the program does: `arguments` without the program's name. Every
/// file the command reads or writes goes through `fileSystem`. Answers the exit status: 0 done, 1 refused
/// or failed ("vantrel: " and the reason on standard error), 2 a usage error.
int runCommandLine(std::span<const std::string> arguments, FileSystem& fileSystem);

} // namespace vantrel::cli
