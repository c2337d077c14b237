#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// One task's schedule change: where it was planned, and where to.
struct ScheduleMove {
  std::string taskID{};
  std::optional<Date> fromDate{};
  std::optional<std::string> fromGapTime{};
  std::optional<Date> toDate{};
  std::optional<std::string> toGapTime{};

  friend bool operator==(const ScheduleMove&, const ScheduleMove&) = default;
};

} // namespace vantrel
