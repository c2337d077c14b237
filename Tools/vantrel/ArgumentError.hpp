#pragma once

#include <stdexcept>
#include <string_view>

namespace vantrel::cli {

/// An argument the command refuses, before it changes anything: "invalid DAY '2026-13-45': expected
/// YYYY-MM-DD, today, tomorrow or yesterday". The text is shown terminal-safe, since a message is a C
/// string and a NUL or an escape in it would cut it short or reach the terminal.
class ArgumentError : public std::invalid_argument {
public:
  ArgumentError(std::string_view argument, std::string_view text, std::string_view expected);
};

} // namespace vantrel::cli
