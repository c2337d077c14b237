#pragma once

#include "VantrelCore/Platform/LogRecord.hpp"

namespace vantrel {

/// Where log records go. Loggers on any thread write to the same sink, so implementations must be
/// thread-safe.
class LogSink {
public:
  virtual ~LogSink() = default;
  virtual void write(const LogRecord& record) = 0;
};

} // namespace vantrel
