#pragma once

#include "VantrelCore/Widget/GapEntry.hpp"

#include <vector>

namespace vantrel {

/// The entries a widget host switches between by itself, and when it asks for new ones.
struct GapTimeline {
  /// Ask again after the last entry's date.
  enum class ReloadPolicy { atEnd };

  std::vector<GapEntry> entries{};
  ReloadPolicy policy = ReloadPolicy::atEnd;
};

} // namespace vantrel
