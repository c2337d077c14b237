#pragma once

#include <string_view>

namespace vantrel {

/// The size the widget's view lays out for, one per supported family: the small size shows the gap and
/// its counts; the medium and large sizes add the task list and the upcoming gaps.
enum class GapWidgetSize { small, medium, large };

/// "small", "medium", "large".
constexpr std::string_view gapWidgetSizeName(GapWidgetSize size) {
  switch (size) {
  case GapWidgetSize::small:
    return "small";
  case GapWidgetSize::medium:
    return "medium";
  case GapWidgetSize::large:
    break;
  }
  return "large";
}

} // namespace vantrel
