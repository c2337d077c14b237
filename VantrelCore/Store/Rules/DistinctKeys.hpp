#pragma once

#include "VantrelCore/Store/CloudKitStoreError.hpp"

#include <set>
#include <span>
#include <string_view>

namespace vantrel {

/// An order that names one item twice cannot be honoured; it is refused as a request for a missing one.
template <class Key> void requireDistinct(std::span<const Key> keys, std::string_view recordType) {
  std::set<Key> seen;
  for (const auto& key : keys) {
    if (!seen.insert(key).second) {
      throw CloudKitStoreError::recordNotFound(recordType, key.id);
    }
  }
}

} // namespace vantrel
