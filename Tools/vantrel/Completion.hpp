#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

namespace vantrel::cli {

/// A script that teaches `shell` (bash, zsh or fish) to complete the program's commands and options,
/// generated from its command tree so it never falls behind. Throws ArgumentError for another shell.
std::string completionScript(const CLI::App& program, std::string_view shell);

} // namespace vantrel::cli
