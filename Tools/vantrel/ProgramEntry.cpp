#include "Tools/vantrel/ProgramEntry.hpp"

#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <algorithm>
#include <memory>
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
      if (option && argument.find('=') == std::string::npos && option->get_items_expected_max() > 0) {
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

std::size_t editDistance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  for (std::size_t column = 0; column <= to.size(); ++column) {
    row[column] = column;
  }
  for (std::size_t line = 1; line <= from.size(); ++line) {
    std::size_t diagonal = row[0];
    row[0] = line;
    for (std::size_t column = 1; column <= to.size(); ++column) {
      const std::size_t above = row[column];
      row[column] = std::min(
          {row[column] + 1, row[column - 1] + 1, diagonal + (from[line - 1] == to[column - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[to.size()];
}

/// "; did you mean 'today'?" for the known word nearest to `typed`, when one is near enough to be a typo.
std::string suggestion(std::string_view typed, const std::vector<std::string>& known) {
  const std::string* nearest = nullptr;
  std::size_t best = std::max<std::size_t>(2, typed.size() / 3) + 1;
  for (const auto& word : known) {
    const auto distance = word.starts_with(typed) ? 1 : editDistance(typed, word);
    if (distance < best) {
      best = distance;
      nearest = &word;
    }
  }
  return nearest ? "; did you mean '" + *nearest + "'?" : "";
}

std::vector<std::string> subcommandNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const auto* sub : command.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(sub->get_name());
  }
  return names;
}

std::vector<std::string> optionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* scope = &command; scope; scope = scope->get_parent()) {
    for (const auto* option : scope->get_options([](const CLI::Option* o) { return !o->get_positional(); })) {
      for (const auto& name : option->get_lnames()) {
        names.push_back("--" + name);
      }
    }
  }
  return names;
}

/// The first command or option of `arguments` that the program does not know, read the way the parser
/// reads them; CLI11 alone would say "A subcommand is required" for a mistyped command.
std::optional<std::string> unknownWord(const CLI::App& program, std::span<const std::string> arguments) {
  const CLI::App* command = &program;
  bool awaitingValue = false;
  int words = 0;
  for (const auto& argument : arguments) {
    if (std::exchange(awaitingValue, false)) {
      continue;
    }
    if (argument == "--") {
      return std::nullopt;
    }
    if (argument.size() > 1 && argument[0] == '-' && !(argument[1] >= '0' && argument[1] <= '9')) {
      const auto name = argument.substr(0, argument.find('='));
      const auto* option = optionNamed(*command, name);
      if (!option && name.starts_with("--")) {
        return "unknown option '" + terminalText(name) + "'" + suggestion(name, optionNames(*command));
      }
      awaitingValue =
          option && argument.find('=') == std::string::npos && option->get_items_expected_max() > 0;
      continue;
    }
    const auto named =
        command->get_subcommands([&](const CLI::App* sub) { return sub->check_name(argument); });
    if (!named.empty()) {
      command = named.front();
      words = 0;
      continue;
    }
    int capacity = 0;
    for (const auto* positional :
         command->get_options([](const CLI::Option* o) { return o->get_positional(); })) {
      capacity += std::max(positional->get_items_expected_max(), 0);
    }
    if (words >= capacity && !command->get_subcommands([](const CLI::App*) { return true; }).empty()) {
      const std::string what = command == &program ? "command" : commandPath(*command) + " command";
      return "unknown " + what + " '" + terminalText(argument) + "'" +
             suggestion(argument, subcommandNames(*command));
    }
    ++words;
  }
  return std::nullopt;
}

} // namespace

int runProgram(CLI::App& program, std::span<const std::string> arguments, std::ostream& out,
               std::ostream& err) {
  const std::string name = program.get_name();
  const std::string hint =
      "\nRun '" + name + " help' or '" + name + " COMMAND --help' for more information.\n";
  if (const auto refusal = nonUTF8Argument(program, arguments)) {
    err << name << ": " << *refusal << "\n";
    return usageErrorStatus;
  }
  if (const auto unknown = unknownWord(program, arguments)) {
    err << name << ": " << *unknown << hint;
    return usageErrorStatus;
  }
  program.failure_message([name, hint](const CLI::App*, const CLI::Error& error) {
    return name + ": " + terminalText(error.what()) + hint;
  });
  // CLI11 parses from the back of the list.
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  try {
    program.parse(reversed);
  } catch (const CLI::ParseError& error) {
    // Help and the version are answers, not errors.
    return program.exit(error, out, err) == 0 ? 0 : usageErrorStatus;
  } catch (const std::exception& error) {
    err << name << ": " << terminalText(error.what()) << "\n";
    return 1;
  }
  return 0;
}

void addHelpCommand(CLI::App& program, std::ostream& out) {
  auto words = std::make_shared<std::vector<std::string>>();
  auto* help = program.add_subcommand("help", "Show the help of the program or of a command");
  help->add_option("command", *words, "The command, as typed: task, task add")->type_name("");
  help->callback([&program, &out, words] {
    const CLI::App* command = &program;
    for (const auto& word : *words) {
      const auto named = command->get_subcommands([&](const CLI::App* sub) { return sub->check_name(word); });
      if (named.empty()) {
        throw CLI::ValidationError("help: unknown command '" + terminalText(word) + "'" +
                                   suggestion(word, subcommandNames(*command)));
      }
      command = named.front();
    }
    out << command->help();
  });
}

} // namespace vantrel::cli
