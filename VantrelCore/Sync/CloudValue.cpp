#include "VantrelCore/Sync/CloudValue.hpp"

namespace vantrel {

std::string_view cloudValueKindName(const CloudValue& value) {
  static constexpr std::string_view names[] = {"String",   "Int64",   "Bool",   "Date",         "CKReference",
                                               "[String]", "[Int64]", "[Date]", "[CKReference]"};
  static_assert(std::size(names) == std::variant_size_v<CloudValue>);
  return names[value.index()];
}

} // namespace vantrel
