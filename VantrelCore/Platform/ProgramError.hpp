#pragma once

#include <string_view>

namespace vantrel {

/// Stops the process with `message` on stderr: for states that only a bug can produce, where carrying on
/// would corrupt data (a day the calendar cannot form, a length that is not a number).
[[noreturn]] void programError(std::string_view message);

} // namespace vantrel
