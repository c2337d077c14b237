#pragma once

#include "tests/Support/CapturingLogSink.hpp"

#include <memory>

namespace vantrel::testing {

/// Sends every log record to a CapturingLogSink for one scope, then puts the previous sink back.
class ScopedLogCapture {
public:
  ScopedLogCapture();
  ~ScopedLogCapture();
  ScopedLogCapture(const ScopedLogCapture&) = delete;
  ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;

  CapturingLogSink& sink() { return *sink_; }
  std::vector<LogRecord> records() const { return sink_->records(); }
  std::vector<std::string> messages() const { return sink_->messages(); }
  bool contains(std::string_view message) const { return sink_->contains(message); }

private:
  std::shared_ptr<CapturingLogSink> sink_;
  std::shared_ptr<LogSink> previous_;
};

} // namespace vantrel::testing
