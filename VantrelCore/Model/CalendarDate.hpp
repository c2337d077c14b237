#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <unicode/timezone.h>

namespace vantrel {

class Clock;

/// A day in the Gregorian calendar, with no time and no zone: what tasks, gaps and day records belong to.
///
/// Decoded values are not range-checked (stored data may hold 2026-13-45, which is kept as it is);
/// conversions to instants hand them to the calendar, which normalises them. Years are extended years: 0 is
/// 1 BC, -1 is 2 BC.
struct CalendarDate {
  std::int64_t year = 0;
  std::int64_t month = 0;
  std::int64_t day = 0;

  /// What a person types: exactly YYYY-MM-DD, a real day of the years 0001 to 9999; nothing otherwise.
  static std::optional<CalendarDate> parse(std::string_view text);
  /// What stored data holds: '-'-separated pieces, empty ones dropped, exactly three signed base-10
  /// integers, not range-checked; throws DecodingError (dataCorrupted) with the offending text otherwise.
  static CalendarDate decode(std::string_view text);

  static CalendarDate today(const icu::TimeZone& zone, const Clock& clock);
  /// The day of the instant in the device's current zone.
  static CalendarDate localDayOf(Date instant);
  static CalendarDate utcDayOf(Date instant);

  /// 12:00 UTC of the day; the current instant when the calendar cannot form the day.
  Date noonUTC() const;
  /// 12:00 of the day in the device zone; noonUTC() when that instant cannot be formed.
  Date localNoon() const;
  /// `hour`:`minute` of the day on the device zone's clock (a wall time that a clock change skips is read
  /// in the offset before it); none when the calendar cannot form the day.
  std::optional<Date> localTime(int hour, int minute = 0) const;
  /// noonUTC() formatted with an ICU pattern (UTF-8) in the device locale, zone UTC.
  std::string formatted(std::string_view pattern) const;

  /// Calendar-day arithmetic in the device zone, so a day across a DST change stays whole.
  CalendarDate adding(int days) const;
  /// Whole days from `other` to this day, positive when this day is later.
  int daysSince(const CalendarDate& other) const;

  /// The serialised text form, "%04d-%02d-%02d" (2026-03-07, -001-01-01).
  std::string description() const;
  std::string asString() const { return description(); }

  friend bool operator==(const CalendarDate&, const CalendarDate&) = default;
  friend std::strong_ordering operator<=>(const CalendarDate&, const CalendarDate&) = default;
};

std::ostream& operator<<(std::ostream& stream, const CalendarDate& date);

} // namespace vantrel

template <> struct std::hash<vantrel::CalendarDate> {
  std::size_t operator()(const vantrel::CalendarDate& date) const noexcept;
};
