#pragma once

#include "VantrelCore/Planning/TaskGapEndSource.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>

namespace vantrel {

/// Where a user's gap ends, and why; no end when it is open-ended.
struct TaskGapEnd {
  std::optional<Date> end{};
  TaskGapEndSource source = TaskGapEndSource::openEnded;

  friend bool operator==(const TaskGapEnd&, const TaskGapEnd&) = default;
};

} // namespace vantrel
