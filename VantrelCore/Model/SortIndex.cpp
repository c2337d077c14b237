#include "VantrelCore/Model/SortIndex.hpp"

#include "VantrelCore/Platform/ProgramError.hpp"

#include <algorithm>
#include <limits>

namespace vantrel {

std::int64_t SortIndex::appended(std::span<const std::int64_t> siblings) {
  if (siblings.empty()) {
    return step;
  }
  const std::int64_t last = std::ranges::max(siblings);
  if (last > std::numeric_limits<std::int64_t>::max() - step) {
    programError("SortIndex::appended: the largest sort index leaves no room after it");
  }
  return last + step;
}

std::int64_t SortIndex::atTop(std::span<const std::int64_t> siblings) {
  if (siblings.empty()) {
    return step;
  }
  const std::int64_t first = std::ranges::min(siblings);
  if (first < std::numeric_limits<std::int64_t>::min() + step) {
    programError("SortIndex::atTop: the smallest sort index leaves no room before it");
  }
  return first - step;
}

} // namespace vantrel
