#include "tests/Support/CapturingLogSink.hpp"

#include <algorithm>

namespace vantrel::testing {

void CapturingLogSink::write(const LogRecord& record) {
  std::lock_guard lock(mutex_);
  records_.push_back(record);
}

std::vector<LogRecord> CapturingLogSink::records() const {
  std::lock_guard lock(mutex_);
  return records_;
}

std::vector<std::string> CapturingLogSink::messages() const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> texts;
  texts.reserve(records_.size());
  for (const auto& record : records_) {
    texts.push_back(record.message);
  }
  return texts;
}

bool CapturingLogSink::contains(std::string_view message) const {
  std::lock_guard lock(mutex_);
  return std::any_of(records_.begin(), records_.end(),
                     [message](const LogRecord& record) { return record.message == message; });
}

} // namespace vantrel::testing
