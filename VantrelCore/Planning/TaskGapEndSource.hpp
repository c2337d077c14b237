#pragma once

#include <optional>
#include <string_view>

namespace vantrel {

/// Why a user's gap ends where it ends. Exchanged by its text value; the order of the cases is fixed.
enum class TaskGapEndSource {
  /// It starts inside a timed event and ends with it.
  containingEvent,
  /// It starts before the day window and ends at the next boundary there.
  beforeDayStart,
  /// It starts at or after the day window's end and ends at the next boundary there.
  afterDayEnd,
  /// It starts inside the day window and ends at the next event, the next gap or the day's end.
  nextBoundary,
  /// Nothing follows its start in its part of the day.
  openEnded,
};

/// "containingEvent", "beforeDayStart", ...
std::string_view taskGapEndSourceText(TaskGapEndSource source);
/// The case of a text value; none for any other text.
std::optional<TaskGapEndSource> taskGapEndSource(std::string_view text);

} // namespace vantrel
