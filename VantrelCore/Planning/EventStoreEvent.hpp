#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// One occurrence of an event as the back end gives it; a recurring event gives one per occurrence, all
/// with the same id.
struct EventStoreEvent {
  std::optional<std::string> id{};
  std::optional<std::string> title{};
  Date start{};
  Date end{};
  bool isAllDay = false;
  std::string calendarId{};

  friend bool operator==(const EventStoreEvent&, const EventStoreEvent&) = default;
};

} // namespace vantrel
