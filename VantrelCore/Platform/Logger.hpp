#pragma once

#include "VantrelCore/Platform/LogArgument.hpp"
#include "VantrelCore/Platform/LogLevel.hpp"
#include "VantrelCore/Platform/LogSink.hpp"

#include <array>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace vantrel {

/// Writes log messages for one subsystem and category, in the manner of the unified log.
///
/// Format strings are written verbatim at the call site, os_log style: %s %@ %d %i %ld %lld %u %lu %llu %f
/// %.Nf and %%, each optionally annotated right after the '%' with {public}, {private}, {bool} or a comma
/// list of them. %s and %@ are private unless marked {public}; numbers are public unless marked {private}.
/// {bool} renders "true"/"false". A placeholder without an argument renders "<missing>" and surplus
/// arguments are appended as " <extra: value>", so a mistake at a call site shows in the log.
class Logger {
public:
  Logger(std::string subsystem, std::string category);

  const std::string& subsystem() const { return subsystem_; }
  const std::string& category() const { return category_; }

  template <typename... Args> void debug(std::string_view format, const Args&... args) const {
    emit(LogLevel::debug, format, args...);
  }
  template <typename... Args> void info(std::string_view format, const Args&... args) const {
    emit(LogLevel::info, format, args...);
  }
  template <typename... Args> void notice(std::string_view format, const Args&... args) const {
    emit(LogLevel::notice, format, args...);
  }
  template <typename... Args> void error(std::string_view format, const Args&... args) const {
    emit(LogLevel::error, format, args...);
  }
  template <typename... Args> void fault(std::string_view format, const Args&... args) const {
    emit(LogLevel::fault, format, args...);
  }

  void log(LogLevel level, std::string_view format, std::span<const LogArgument> arguments) const;

  /// Installs the process-wide sink and answers the one it replaces. The first sink is a StderrLogSink
  /// configured from the environment; a null sink drops every record.
  static std::shared_ptr<LogSink> setSink(std::shared_ptr<LogSink> sink);

private:
  template <typename... Args> void emit(LogLevel level, std::string_view format, const Args&... args) const {
    const std::array<LogArgument, sizeof...(Args)> arguments{LogArgument(args)...};
    log(level, format, arguments);
  }

  std::string subsystem_;
  std::string category_;
};

} // namespace vantrel
