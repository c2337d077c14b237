#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <string>
#include <utility>

namespace vantrel {

/// One stretch of open time on a day, from `start` up to (not including) `end`.
struct CalendarGap {
  /// "784108800.0-784112400.0": both bounds as seconds since 2001-01-01 in their shortest exact decimal
  /// form with at least one digit after the point, so that gaps with the same bounds share an id.
  std::string id{};
  Date start{};
  Date end{};

  static CalendarGap between(Date start, Date end);

  double duration() const { return end.timeIntervalSince(start); }
  /// "1h 30m".
  std::string durationLabel() const;
  /// Both bounds as "h:mm a" clock times.
  std::pair<std::string, std::string> timeLabels() const;

  friend bool operator==(const CalendarGap&, const CalendarGap&) = default;
};

} // namespace vantrel
