#pragma once

#include "VantrelCore/Planning/RGBColor.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// One calendar as the back end lists it.
struct EventStoreCalendar {
  std::string id{};
  std::string title{};
  /// The account that holds it; none for a calendar of no account.
  std::optional<std::string> sourceTitle{};
  /// None when the back end has no colour with three components for it.
  std::optional<RGBColor> color{};

  friend bool operator==(const EventStoreCalendar&, const EventStoreCalendar&) = default;
};

} // namespace vantrel
