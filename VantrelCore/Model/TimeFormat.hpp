#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vantrel {

/// Clock times, durations, time ranges and the inbox triage note, as the user reads them.
///
/// Every call makes a fresh formatter with the device's current locale and zone, in the Gregorian calendar.
class TimeFormat {
public:
  TimeFormat() = delete;

  /// "h:mm a": 9:05 AM.
  static std::string clock(Date instant);
  /// Parses "HH:mm" (strict, whole text) into that wall time on 1970-01-01 in the device zone.
  static std::optional<Date> dateFromHHmm(std::string_view text);
  /// "14:05" as "2:05 PM"; a text that is not "HH:mm" comes back unchanged.
  static std::string clockFromHHmm(std::string_view text);
  /// The two clock times, the start without its meridiem when both share it: ("9:00", "11:30 AM").
  static std::pair<std::string, std::string> rangeParts(Date start, Date end);
  /// The parts joined by " – " (en dash).
  static std::string range(Date start, Date end);
  /// A length in seconds as "1h 30m", "2h" or "45m"; negative lengths print 0m. Aborts on a non-finite
  /// value or one whose minutes do not fit a 64-bit integer.
  static std::string duration(double seconds);
  /// An instant for programs: ISO 8601 with the device zone's offset, "2026-11-24T09:05:00+01:00".
  static std::string iso8601(Date instant);
  /// "**2026-03-07 09:05 UTC:** (title) body", the body trimmed and left out when it is blank.
  static std::string inboxTriageNote(std::string_view title, std::optional<std::string_view> body, Date at);
};

} // namespace vantrel
