#pragma once

#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Platform/LogLevel.hpp"

#include <string>

namespace vantrel {

/// One message handed to a log sink.
struct LogRecord {
  std::string subsystem;
  std::string category;
  LogLevel level = LogLevel::notice;
  /// The format string exactly as written at the call site.
  std::string format;
  /// Every placeholder filled with its real value.
  std::string message;
  /// The same, with private arguments shown as "<private>": what may leave the process.
  std::string redactedMessage;
  Date time;
};

} // namespace vantrel
