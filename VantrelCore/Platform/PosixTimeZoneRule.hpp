#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// A zone written as a POSIX TZ rule, "CET-1CEST,M3.5.0,M10.5.0/3": what a TZif file's footer says for
/// times after its last transition, and what TZ may hold instead of a zone name.
///
/// Offsets are kept as seconds east of UTC (POSIX writes them west). Change times follow the RFC 8536
/// extension, from -167 to 167 hours, so "M3.5.0/-1" and "M3.4.4/50" read as the tz database means them.
struct PosixTimeZoneRule {
  /// The day a change happens on in a year.
  struct Day {
    enum class Kind {
      /// "Jn": day n of 1 to 365, February 29 never counted.
      julianWithoutLeapDay,
      /// "n": day n of 0 to 365, February 29 counted.
      dayOfYear,
      /// "Mm.w.d": weekday d (0 Sunday) of week w (5 the last) of month m.
      weekdayOfMonth,
    };
    Kind kind{Kind::weekdayOfMonth};
    int day{};
    int month{};
    int week{};
    int weekday{};
    /// Local wall time of the change, seconds after the day's midnight (may be negative or past 24 h).
    std::int32_t time{7200};

    friend bool operator==(const Day&, const Day&) = default;
  };

  /// The daylight part of a rule.
  struct Daylight {
    std::string name;
    std::int32_t offset{};
    Day start;
    Day end;

    friend bool operator==(const Daylight&, const Daylight&) = default;
  };

  std::string standardName;
  std::int32_t standardOffset{};
  std::optional<Daylight> daylight;

  /// The rule `text` spells; none when it is not a complete POSIX TZ rule. A rule with a daylight name
  /// but no change dates takes the United States' rules, as glibc does.
  static std::optional<PosixTimeZoneRule> parse(std::string_view text);

  /// The offset from UTC in seconds at `unixSeconds`, and whether it is daylight time.
  struct Offset {
    std::int32_t total{};
    bool isDaylight{};
  };
  Offset offsetAt(std::int64_t unixSeconds) const;

  /// The UTC instant of this year's change to daylight time (`toDaylight`) or back, in Unix seconds.
  std::int64_t changeIn(std::int64_t year, bool toDaylight) const;

  friend bool operator==(const PosixTimeZoneRule&, const PosixTimeZoneRule&) = default;
};

} // namespace vantrel
