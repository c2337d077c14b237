#pragma once

#include "VantrelCore/Platform/Preferences.hpp"

#include <map>
#include <mutex>
#include <string>

namespace vantrel {

/// Preferences that live only as long as the object: for tests and for runs that must not touch disk.
class InMemoryPreferences final : public Preferences {
public:
  std::optional<PreferenceValue> value(std::string_view key) const override;
  void setValue(std::string_view key, PreferenceValue value) override;
  void removeValue(std::string_view key) override;

private:
  mutable std::mutex mutex_;
  std::map<std::string, PreferenceValue, std::less<>> values_;
};

} // namespace vantrel
