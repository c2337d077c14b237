#pragma once

#include <compare>

namespace vantrel {

/// An instant, as seconds since 2001-01-01T00:00:00Z: the reference date of every file the system writes.
struct Date {
  /// Seconds from 1970-01-01 to 2001-01-01.
  static constexpr double unixEpochOffset = 978307200.0;

  double secondsSinceReferenceDate = 0.0;

  static constexpr Date fromUnixSeconds(double seconds) { return Date{seconds - unixEpochOffset}; }
  /// ICU's UDate: milliseconds since 1970.
  static constexpr Date fromICUMilliseconds(double milliseconds) {
    return fromUnixSeconds(milliseconds / 1000.0);
  }

  constexpr double unixSeconds() const { return secondsSinceReferenceDate + unixEpochOffset; }
  constexpr double icuMilliseconds() const { return unixSeconds() * 1000.0; }

  constexpr Date adding(double seconds) const { return Date{secondsSinceReferenceDate + seconds}; }
  constexpr double timeIntervalSince(Date other) const {
    return secondsSinceReferenceDate - other.secondsSinceReferenceDate;
  }

  friend constexpr auto operator<=>(const Date&, const Date&) = default;
};

} // namespace vantrel
