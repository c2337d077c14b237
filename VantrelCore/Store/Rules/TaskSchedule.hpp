#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// Where one task is to be planned: a day, a gap's start time on it, or neither (anyday).
struct TaskSchedule {
  std::string taskID;
  std::optional<CalendarDate> day;
  std::optional<std::string> gapTime;
};

} // namespace vantrel
