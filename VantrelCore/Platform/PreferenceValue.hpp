#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vantrel {

/// Opaque bytes kept under a preference key.
struct PreferenceData {
  std::string bytes;
  friend bool operator==(const PreferenceData&, const PreferenceData&) = default;
};

/// The kinds of value a preference can hold.
using PreferenceValue =
    std::variant<std::int64_t, bool, std::string, std::vector<std::string>, PreferenceData>;

} // namespace vantrel
