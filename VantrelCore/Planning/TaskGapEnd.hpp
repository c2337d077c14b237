#pragma once

#include "VantrelCore/Model/Date.hpp"
#include "VantrelCore/Planning/TaskGapEndSource.hpp"

#include <optional>

namespace vantrel {

/// Where a user's gap ends, and why; no end when it is open-ended.
struct TaskGapEnd {
  std::optional<Date> end{};
  TaskGapEndSource source = TaskGapEndSource::openEnded;

  friend bool operator==(const TaskGapEnd&, const TaskGapEnd&) = default;
};

} // namespace vantrel
