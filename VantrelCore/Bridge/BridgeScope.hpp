#pragma once

#include "VantrelCore/Store/CloudKitCache.hpp"

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace vantrel {

/// The areas a bridge session covers, by record name.
struct BridgeScope {
  std::set<std::string> areas{};

  bool includes(const std::string& area) const { return areas.contains(area); }
  /// Every area the store knows, hidden ones too.
  static BridgeScope allAreas(const CloudKitCache& cache);

  /// {"areas":["home","work"]}: the one key, its names sorted.
  std::string encodeJSON() const;
  /// Accepts exactly that form, in any order; anything else (another key, a missing one, a name that is
  /// not a string, empty or given twice) throws DecodingError.
  static BridgeScope decodeJSON(std::string_view text);

  std::size_t hash() const;
  friend bool operator==(const BridgeScope&, const BridgeScope&) = default;
};

} // namespace vantrel

template <> struct std::hash<vantrel::BridgeScope> {
  std::size_t operator()(const vantrel::BridgeScope& scope) const { return scope.hash(); }
};
