#include "VantrelCore/Platform/InMemoryPreferences.hpp"

namespace vantrel {

std::optional<PreferenceValue> InMemoryPreferences::value(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void InMemoryPreferences::setValue(std::string_view key, PreferenceValue value) {
  const std::lock_guard lock(mutex_);
  values_.insert_or_assign(std::string(key), std::move(value));
}

void InMemoryPreferences::removeValue(std::string_view key) {
  const std::lock_guard lock(mutex_);
  if (const auto found = values_.find(key); found != values_.end()) {
    values_.erase(found);
  }
}

} // namespace vantrel
