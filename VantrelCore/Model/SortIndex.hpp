#pragma once

#include <cstdint>
#include <span>

namespace vantrel {

/// Where new siblings go: one step past the last, or one step before the first. An empty list starts at
/// one step, so that both directions keep room.
struct SortIndex {
  static constexpr std::int64_t step = 1000;

  /// The largest index plus a step; a sum past the int64 range is a program error.
  static std::int64_t appended(std::span<const std::int64_t> siblings);
  /// The smallest index minus a step; a difference past the int64 range is a program error.
  static std::int64_t atTop(std::span<const std::int64_t> siblings);
};

} // namespace vantrel
