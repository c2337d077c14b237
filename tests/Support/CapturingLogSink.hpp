#pragma once

#include "VantrelCore/Platform/LogSink.hpp"

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::testing {

/// Keeps every record it is given, so tests can assert the exact log texts.
class CapturingLogSink : public LogSink {
public:
  void write(const LogRecord& record) override;

  std::vector<LogRecord> records() const;
  /// The unredacted messages, in the order they were written.
  std::vector<std::string> messages() const;
  /// Whether some record's unredacted message is exactly `message`.
  bool contains(std::string_view message) const;

private:
  mutable std::mutex mutex_;
  std::vector<LogRecord> records_;
};

} // namespace vantrel::testing
