#include "Tools/vantrel/ProgramEntry.hpp"

#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::cli {
namespace {

constexpr int usageErrorStatus = 2;

std::string commandPath(const CLI::App& command) {
  std::string path = command.get_name();
  for (const CLI::App* parent = command.get_parent(); parent && parent->get_parent();
       parent = parent->get_parent()) {
    path = parent->get_name() + " " + path;
  }
  return path;
}

/// An option of the command or of a command above it; CLI11 answers by any of its names ("--tz").
const CLI::Option* optionNamed(const CLI::App& command, const std::string& name) {
  for (const CLI::App* scope = &command; scope; scope = scope->get_parent()) {
    if (const auto* option = scope->get_option_no_throw(name)) {
      return option;
    }
  }
  return nullptr;
}

/// What the argument at `index` belongs to, read the way the parser will read the arguments before it:
/// "the value of --profile", "--name", "title of task add".
std::string roleOf(const CLI::App& program, std::span<const std::string> arguments, std::size_t index) {
  const CLI::App* command = &program;
  const CLI::Option* awaitingValue = nullptr;
  int words = 0;
  const auto isOption = [](const std::string& argument) { return argument.size() > 1 && argument[0] == '-'; };
  for (std::size_t at = 0; at < index; ++at) {
    const std::string& argument = arguments[at];
    if (std::exchange(awaitingValue, nullptr)) {
      continue;
    }
    if (isOption(argument)) {
      const auto* option = optionNamed(*command, argument.substr(0, argument.find('=')));
      if (option && argument.find('=') == std::string::npos && option->get_type_size_max() > 0) {
        awaitingValue = option;
      }
      continue;
    }
    const auto named =
        command->get_subcommands([&](const CLI::App* sub) { return sub->check_name(argument); });
    if (named.empty()) {
      ++words;
    } else {
      command = named.front();
      words = 0;
    }
  }
  if (awaitingValue) {
    return "the value of " + awaitingValue->get_name();
  }
  const std::string& argument = arguments[index];
  if (isOption(argument)) {
    return terminalText(argument.substr(0, argument.find('=')));
  }
  // Positionals take their values in order; a list takes all that are left.
  for (const auto* positional :
       command->get_options([](const CLI::Option* option) { return option->get_positional(); })) {
    if (words < positional->get_items_expected_max()) {
      return positional->get_name(true) + " of " + commandPath(*command);
    }
    words -= positional->get_items_expected_max();
  }
  return "a word after " + commandPath(*command);
}

std::optional<std::string> nonUTF8Argument(const CLI::App& program, std::span<const std::string> arguments) {
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    if (const auto offset = firstInvalidUTF8Byte(arguments[index])) {
      return "argument " + std::to_string(index + 1) + " (" + roleOf(program, arguments, index) +
             ") is not UTF-8 text: byte " + std::to_string(*offset) + " of \"" +
             terminalText(arguments[index]) + "\" is not valid";
    }
  }
  return std::nullopt;
}

} // namespace

int runProgram(CLI::App& program, std::span<const std::string> arguments) {
  const std::string name = program.get_name();
  if (const auto refusal = nonUTF8Argument(program, arguments)) {
    std::cerr << name << ": " << *refusal << "\n";
    return usageErrorStatus;
  }
  program.failure_message([](const CLI::App* app, const CLI::Error& error) {
    return app->get_name() + ": " + terminalText(error.what()) + "\nRun with --help for more information.\n";
  });
  // CLI11 parses from the back of the list.
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  try {
    program.parse(reversed);
  } catch (const CLI::ParseError& error) {
    // Help and the version are answers, not errors.
    return program.exit(error) == 0 ? 0 : usageErrorStatus;
  } catch (const std::exception& error) {
    std::cerr << name << ": " << terminalText(error.what()) << "\n";
    return 1;
  }
  return 0;
}

} // namespace vantrel::cli
