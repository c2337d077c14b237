#pragma once

#include <optional>
#include <string>

namespace vantrel {

/// One gap reminder to schedule: it fires at a wall-clock time of the device zone.
struct ScheduledGapReminder {
  static constexpr std::string_view identifierPrefix = "vt.gap.";

  /// Begins with "vt.gap.".
  std::string identifier{};
  /// Begins with "Gap starting".
  std::string title{};
  std::optional<std::string> body{};
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;

  friend bool operator==(const ScheduledGapReminder&, const ScheduledGapReminder&) = default;
};

} // namespace vantrel
