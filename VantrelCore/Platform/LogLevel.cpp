#include "VantrelCore/Platform/LogLevel.hpp"

#include <array>

namespace vantrel {
namespace {

constexpr std::array<LogLevel, 5> allLevels{LogLevel::debug, LogLevel::info, LogLevel::notice,
                                            LogLevel::error, LogLevel::fault};

} // namespace

std::string_view logLevelName(LogLevel level) {
  switch (level) {
  case LogLevel::debug:
    return "debug";
  case LogLevel::info:
    return "info";
  case LogLevel::notice:
    return "notice";
  case LogLevel::error:
    return "error";
  case LogLevel::fault:
    return "fault";
  }
  return "unknown";
}

std::optional<LogLevel> logLevelNamed(std::string_view name) {
  for (const LogLevel level : allLevels) {
    if (logLevelName(level) == name) {
      return level;
    }
  }
  return std::nullopt;
}

} // namespace vantrel
