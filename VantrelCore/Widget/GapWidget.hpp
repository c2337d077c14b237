#pragma once

#include "VantrelCore/Widget/GapWidgetSize.hpp"

#include <array>
#include <string_view>

namespace vantrel {

/// The one widget of the planner: the gap you are in now and its tasks. Static: it has no settings of
/// its own, and its timeline comes from GapTimelineProvider.
struct GapWidget {
  static constexpr std::string_view kind = "VantrelCurrentGap";
  static constexpr std::string_view displayName = "Current Gap";
  static constexpr std::string_view description = "The gap you are in now and its tasks.";
  static constexpr std::array supportedFamilies{GapWidgetSize::small, GapWidgetSize::medium,
                                                GapWidgetSize::large};
};

} // namespace vantrel
