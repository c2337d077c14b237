#pragma once

#include <CLI/CLI.hpp>
#include <ostream>
#include <span>
#include <string>

namespace vantrel::cli {

/// Runs a configured program on `arguments` (without the program's name), as both programs' entries do.
/// Every argument must be UTF-8: one that is not is refused before anything reads it, naming its position,
/// the option or command it belongs to and the byte offset, since text stored from it would break every
/// later write of the planner's files. Messages go to standard error after the program's name, shown safe
/// for a terminal. An unknown command or option is named with the nearest known one ("vantrel: unknown
/// command 'tody'; did you mean 'today'?"). Help and usage errors go to `out` and `err`. Answers the exit
/// status: 0 done, 1 refused or failed, 2 a usage error.
int runProgram(CLI::App& program, std::span<const std::string> arguments, std::ostream& out,
               std::ostream& err);

/// Adds `help [COMMAND...]`, which prints the help of the program or of the command named.
void addHelpCommand(CLI::App& program, std::ostream& out);

} // namespace vantrel::cli
