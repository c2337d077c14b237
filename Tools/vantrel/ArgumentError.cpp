#include "Tools/vantrel/ArgumentError.hpp"

#include "Tools/vantrel/TerminalText.hpp"

#include <string>

namespace vantrel::cli {

ArgumentError::ArgumentError(std::string_view argument, std::string_view text, std::string_view expected)
    : std::invalid_argument("invalid " + std::string(argument) + " '" + terminalText(text) +
                            "': " + std::string(expected)) {}

} // namespace vantrel::cli
