#include "VantrelCore/Platform/PosixTimeZoneRule.hpp"

#include <cctype>
#include <chrono>

namespace vantrel {
namespace {

constexpr std::int32_t secondsPerHour = 3600;
constexpr std::int64_t secondsPerDay = 86400;

/// Reads one rule left to right; every step answers false when the text does not fit.
class RuleReader {
public:
  explicit RuleReader(std::string_view text) : text_(text) {}

  bool atEnd() const { return position_ == text_.size(); }
  bool take(char expected) {
    if (!atEnd() && text_[position_] == expected) {
      ++position_;
      return true;
    }
    return false;
  }
  bool peek(char expected) const { return !atEnd() && text_[position_] == expected; }
  bool peekIsNameStart() const {
    return !atEnd() &&
           (text_[position_] == '<' || std::isalpha(static_cast<unsigned char>(text_[position_])));
  }

  /// "EST" (three or more letters) or "<-03>" (three or more letters, digits and signs in angle brackets).
  bool name(std::string& result) {
    const std::size_t start = position_;
    if (take('<')) {
      while (!atEnd() && text_[position_] != '>') {
        const char c = text_[position_];
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-') {
          return false;
        }
        ++position_;
      }
      if (!take('>')) {
        return false;
      }
      result = std::string(text_.substr(start + 1, position_ - start - 2));
    } else {
      while (!atEnd() && std::isalpha(static_cast<unsigned char>(text_[position_]))) {
        ++position_;
      }
      result = std::string(text_.substr(start, position_ - start));
    }
    return result.size() >= 3;
  }

  /// [+-]hh[:mm[:ss]] with hours up to `largestHours`, as seconds (the sign as written).
  bool duration(std::int32_t& result, int largestHours) {
    const bool negative = take('-');
    if (!negative) {
      take('+');
    }
    int hours = 0;
    if (!number(hours, 0, largestHours)) {
      return false;
    }
    int minutes = 0;
    int seconds = 0;
    if (take(':') && (!number(minutes, 0, 59) || (take(':') && !number(seconds, 0, 59)))) {
      return false;
    }
    result = (hours * 3600 + minutes * 60 + seconds) * (negative ? -1 : 1);
    return true;
  }

  bool day(PosixTimeZoneRule::Day& result) {
    using Kind = PosixTimeZoneRule::Day::Kind;
    if (take('J')) {
      result.kind = Kind::julianWithoutLeapDay;
      if (!number(result.day, 1, 365)) {
        return false;
      }
    } else if (take('M')) {
      result.kind = Kind::weekdayOfMonth;
      if (!number(result.month, 1, 12) || !take('.') || !number(result.week, 1, 5) || !take('.') ||
          !number(result.weekday, 0, 6)) {
        return false;
      }
    } else {
      result.kind = Kind::dayOfYear;
      if (!number(result.day, 0, 365)) {
        return false;
      }
    }
    result.time = 2 * secondsPerHour;
    if (take('/')) {
      if (!duration(result.time, 167)) {
        return false;
      }
    }
    return true;
  }

private:
  bool number(int& result, int smallest, int largest) {
    const std::size_t start = position_;
    long value = 0;
    while (!atEnd() && std::isdigit(static_cast<unsigned char>(text_[position_])) && position_ - start < 4) {
      value = value * 10 + (text_[position_] - '0');
      ++position_;
    }
    if (position_ == start || value < smallest || value > largest) {
      return false;
    }
    result = int(value);
    return true;
  }

  std::string_view text_;
  std::size_t position_{};
};

bool isLeapYear(std::int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

std::int64_t daysSince1970(std::int64_t year, unsigned month, unsigned day) {
  return std::chrono::sys_days(std::chrono::year(int(year)) / std::chrono::month(month) /
                               std::chrono::day(day))
      .time_since_epoch()
      .count();
}

/// Days from January 1 of `year` to the rule's day.
std::int64_t dayInYear(const PosixTimeZoneRule::Day& day, std::int64_t year) {
  using Kind = PosixTimeZoneRule::Day::Kind;
  switch (day.kind) {
  case Kind::julianWithoutLeapDay:
    return day.day - 1 + (day.day >= 60 && isLeapYear(year) ? 1 : 0);
  case Kind::dayOfYear:
    return day.day;
  case Kind::weekdayOfMonth:
    break;
  }
  const std::chrono::year_month ym{std::chrono::year(int(year)), std::chrono::month(unsigned(day.month))};
  const std::chrono::sys_days first{ym / 1};
  const unsigned firstWeekday = std::chrono::weekday(first).c_encoding();
  unsigned dayOfMonth = (unsigned(day.weekday) + 7 - firstWeekday) % 7 + 7 * unsigned(day.week - 1);
  const unsigned length = unsigned(std::chrono::year_month_day_last(ym / std::chrono::last).day());
  while (dayOfMonth >= length) {
    dayOfMonth -= 7;
  }
  return (first - std::chrono::sys_days(std::chrono::year(int(year)) / 1 / 1)).count() + dayOfMonth;
}

std::int64_t utcYearOf(std::int64_t unixSeconds) {
  const std::int64_t days =
      unixSeconds >= 0 ? unixSeconds / secondsPerDay : -((-unixSeconds + secondsPerDay - 1) / secondsPerDay);
  return int(std::chrono::year_month_day(std::chrono::sys_days(std::chrono::days(days))).year());
}

} // namespace

std::optional<PosixTimeZoneRule> PosixTimeZoneRule::parse(std::string_view text) {
  RuleReader reader(text);
  PosixTimeZoneRule rule;
  std::int32_t westOffset = 0;
  if (!reader.name(rule.standardName) || !reader.duration(westOffset, 24)) {
    return std::nullopt;
  }
  rule.standardOffset = -westOffset;
  if (reader.atEnd()) {
    return rule;
  }
  Daylight daylight;
  if (!reader.peekIsNameStart() || !reader.name(daylight.name)) {
    return std::nullopt;
  }
  daylight.offset = rule.standardOffset + secondsPerHour;
  if (!reader.atEnd() && !reader.peek(',')) {
    if (!reader.duration(westOffset, 24)) {
      return std::nullopt;
    }
    daylight.offset = -westOffset;
  }
  if (reader.atEnd()) {
    daylight.start = Day{.kind = Day::Kind::weekdayOfMonth, .month = 3, .week = 2, .weekday = 0};
    daylight.end = Day{.kind = Day::Kind::weekdayOfMonth, .month = 11, .week = 1, .weekday = 0};
  } else if (!reader.take(',') || !reader.day(daylight.start) || !reader.take(',') ||
             !reader.day(daylight.end) || !reader.atEnd()) {
    return std::nullopt;
  }
  rule.daylight = daylight;
  return rule;
}

std::int64_t PosixTimeZoneRule::changeIn(std::int64_t year, bool toDaylight) const {
  const Day& day = toDaylight ? daylight->start : daylight->end;
  const std::int32_t offsetBefore = toDaylight ? standardOffset : daylight->offset;
  return (daysSince1970(year, 1, 1) + dayInYear(day, year)) * secondsPerDay + day.time - offsetBefore;
}

PosixTimeZoneRule::Offset PosixTimeZoneRule::offsetAt(std::int64_t unixSeconds) const {
  if (!daylight) {
    return {standardOffset, false};
  }
  // Both changes are taken in the UTC year of the instant, as glibc does; where daylight time spans the
  // new year (the southern hemisphere) it is in force outside [end, start).
  const std::int64_t year = utcYearOf(unixSeconds);
  const std::int64_t start = changeIn(year, true);
  const std::int64_t end = changeIn(year, false);
  const bool inDaylight =
      start > end ? unixSeconds < end || unixSeconds >= start : unixSeconds >= start && unixSeconds < end;
  return inDaylight ? Offset{daylight->offset, true} : Offset{standardOffset, false};
}

} // namespace vantrel
