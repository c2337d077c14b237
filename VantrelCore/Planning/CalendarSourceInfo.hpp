#pragma once

#include "VantrelCore/Planning/RGBColor.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// One calendar as the settings offer it.
struct CalendarSourceInfo {
  std::string id{};
  std::string title{};
  /// The account that holds it; "Local" for a calendar of no account.
  std::string sourceTitle{};
  std::optional<RGBColor> colorRGB{};

  friend bool operator==(const CalendarSourceInfo&, const CalendarSourceInfo&) = default;
};

} // namespace vantrel
