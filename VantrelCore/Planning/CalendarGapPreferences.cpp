#include "VantrelCore/Planning/CalendarGapPreferences.hpp"

namespace vantrel {

std::int64_t CalendarGapPreferences::read(std::string_view key, std::int64_t fallback) const {
  if (shared_) {
    if (const auto value = shared_->integer(key).value_or(0); value != 0) {
      return value;
    }
  }
  const auto value = standard_.integer(key).value_or(0);
  if (value == 0) {
    return fallback;
  }
  if (shared_) {
    shared_->setValue(key, value);
  }
  return value;
}

void CalendarGapPreferences::write(std::string_view key, std::int64_t value) {
  standard_.setValue(key, value);
  if (shared_) {
    shared_->setValue(key, value);
  }
}

} // namespace vantrel
