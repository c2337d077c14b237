#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// Which tasks a list shows; every condition that is set must hold.
struct TaskFilter {
  std::optional<bool> done{};
  /// Record names: the tasks of a project, or of an area (its own and those of the projects placed in it).
  std::optional<std::string> project{};
  std::optional<std::string> area{};
  /// Planned on this day by the current user.
  std::optional<CalendarDate> day{};
  /// Planned on no day: the Anyday list.
  bool anyday = false;
  /// With a deadline before this instant.
  std::optional<Date> dueBefore{};
  /// Words of the title, any case.
  std::optional<std::string> text{};

  bool matches(const TaskRecord& task, const CloudKitCache& cache) const;
};

/// `text` case-folded (Unicode full case folding), for comparisons in any case.
std::string foldedCase(std::string_view text);
/// Whether `text` contains `words` in any case.
bool containsFolded(std::string_view text, std::string_view words);

} // namespace vantrel
