#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace vantrel::cli {

/// A required positional of `command`, shown in the help as NAME with its description.
template <class Value>
CLI::Option* argument(CLI::App& command, const std::string& name, Value& value,
                      const std::string& description) {
  return command.add_option(name, value, description)->required()->type_name("");
}

/// An optional positional.
template <class Value>
CLI::Option* optionalArgument(CLI::App& command, const std::string& name, Value& value,
                              const std::string& description) {
  return command.add_option(name, value, description)->type_name("");
}

} // namespace vantrel::cli
