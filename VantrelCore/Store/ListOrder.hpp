#pragma once

#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"

#include <algorithm>
#include <tuple>
#include <vector>

namespace vantrel {

/// The records in their list order: by sort index, then by record name, so every device agrees.
template <class Record> std::vector<const Record*> inListOrder(const RecordMap<Record>& records) {
  std::vector<const Record*> list;
  list.reserve(records.size());
  for (const auto& [name, record] : records) {
    list.push_back(&record);
  }
  std::ranges::sort(list, [](const Record* left, const Record* right) {
    return std::tie(left->sortIndex, left->recordName) < std::tie(right->sortIndex, right->recordName);
  });
  return list;
}

} // namespace vantrel
