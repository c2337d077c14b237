#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// How a new task is made: where it goes in its home, under which name, and for which day.
struct NewTaskOptions {
  /// Plans the task for this day for the current user.
  std::optional<CalendarDate> plannedDate{};
  /// The name a caller chose (the bridge keeps the names of the files it reads); a new "t-" name otherwise.
  std::optional<std::string> recordName{};
  /// Above every item of the home; wins over `aboveFirstSection`.
  bool insertAtTop{};
  /// Projects only: after the last task that comes before the project's first header.
  bool aboveFirstSection{};
};

} // namespace vantrel
