#pragma once

#include "VantrelCore/Platform/PreferenceValue.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// Values by key that outlive a run: the planner's settings. The "standard" store belongs to the planner;
/// the "shared" store sits in the app-group container, where the widget reads it too.
///
/// Implementations are safe to use from several threads.
class Preferences {
public:
  virtual ~Preferences() = default;

  virtual std::optional<PreferenceValue> value(std::string_view key) const = 0;
  virtual void setValue(std::string_view key, PreferenceValue value) = 0;
  /// Removing a key that is not there is not an error.
  virtual void removeValue(std::string_view key) = 0;

  /// Typed reads: absent when the key is missing or holds another kind of value.
  std::optional<std::int64_t> integer(std::string_view key) const { return get<std::int64_t>(key); }
  std::optional<bool> boolean(std::string_view key) const { return get<bool>(key); }
  std::optional<std::string> string(std::string_view key) const { return get<std::string>(key); }
  std::optional<std::vector<std::string>> stringArray(std::string_view key) const {
    return get<std::vector<std::string>>(key);
  }
  std::optional<PreferenceData> data(std::string_view key) const { return get<PreferenceData>(key); }

private:
  template <class T> std::optional<T> get(std::string_view key) const {
    auto stored = value(key);
    if (!stored || !std::holds_alternative<T>(*stored)) {
      return std::nullopt;
    }
    return std::get<T>(std::move(*stored));
  }
};

} // namespace vantrel
