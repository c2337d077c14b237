#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Planning/CalendarEvent.hpp"
#include "VantrelCore/Planning/CalendarGapPreferences.hpp"
#include "VantrelCore/Planning/TaskGapEnd.hpp"

#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace vantrel {

/// Where a user's gap starts and ends on a day. Its end is never stored: it follows from the calendar and
/// from the day's other gaps.
class GapEndDerivation {
public:
  GapEndDerivation() = delete;

  /// The gap's time on the day in the device zone, read as GapRecord::minutesOfDay() reads it: "9:05" is
  /// 09:05, and "24:00" or "ab:cd" no start.
  static std::optional<Date> startDate(const GapRecord& gap, const CalendarDate& day);
  /// The hour and minute startDate() reads from the gap's time.
  static std::optional<std::pair<int, int>> startClock(const GapRecord& gap);
  /// The first timed event, by start, that the gap starts in (an event's end is not in it).
  static std::optional<CalendarEvent> containingEvent(const GapRecord& gap, const CalendarDate& day,
                                                      std::span<const CalendarEvent> events);
  /// The gap's derived end and its reason, against the other gaps of `allGaps` and the user's window.
  static std::optional<TaskGapEnd> info(const GapRecord& gap, const CalendarDate& day,
                                        std::span<const GapRecord> allGaps,
                                        std::span<const CalendarEvent> events,
                                        const CalendarGapPreferences& preferences);
  /// Until when the gap counts as the current one: its derived end; for a gap without one, the day's
  /// start (its hour on the clock) when it starts before it, else the next midnight, or the start of a
  /// later gap of the day when that comes first.
  static std::optional<Date> currentUntil(const GapRecord& gap, const CalendarDate& day,
                                          std::span<const GapRecord> allGaps,
                                          std::span<const CalendarEvent> events,
                                          const CalendarGapPreferences& preferences);
  /// Where each gap of `allGaps` starts and ends, in its order.
  struct Ends {
    std::optional<Date> start{};
    /// What info() answers.
    std::optional<TaskGapEnd> end{};
    /// What currentUntil() answers.
    std::optional<Date> currentUntil{};
  };
  /// The ends of every gap of `allGaps`: each start and each derived end is computed once, where asking
  /// gap by gap reads every other gap's start again.
  static std::vector<Ends> endsOfEach(std::span<const GapRecord> allGaps, const CalendarDate& day,
                                      std::span<const CalendarEvent> events,
                                      const CalendarGapPreferences& preferences);
};

} // namespace vantrel
