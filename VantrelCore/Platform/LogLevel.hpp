#pragma once

#include <optional>
#include <string_view>

namespace vantrel {

/// How much a log record matters, from least to most; the order is the order of the enumerators.
enum class LogLevel { debug, info, notice, error, fault };

/// "debug", "info", "notice", "error" or "fault".
std::string_view logLevelName(LogLevel level);

/// The level whose lower-case name is `name`; empty for any other text.
std::optional<LogLevel> logLevelNamed(std::string_view name);

} // namespace vantrel
