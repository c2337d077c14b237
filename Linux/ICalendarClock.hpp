#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <libical/ical.h>
#include <memory>
#include <optional>
#include <unicode/timezone.h>

namespace vantrel {

/// Reads iCalendar times as instants, each on the clock it names: UTC, a zone of the file or of the
/// system's tz database, or the device zone for floating times and dates. One clock serves one read or one
/// query: it keeps the device zone of the moment and the last minute it resolved, so that a series walked
/// second by second asks ICU once a minute.
///
/// Wall times are also handled as "wall seconds": seconds since 1970-01-01 00:00 on the time's own
/// clock, in the proleptic Gregorian calendar. libical's own icaltime_as_timet answers -1 for every time
/// before 1970, so it is never used here.
class ICalendarClock {
public:
  ICalendarClock();

  /// The instant `time` names; none when the device zone cannot form its day.
  std::optional<Date> instantOf(const icaltimetype& time);
  /// How far the clock of `like` (its zone, or the device zone when it is floating or a date) is ahead
  /// of UTC at `instant`, in seconds.
  std::int64_t offsetAt(Date instant, const icaltimetype& like) const;
  /// `time` as wall seconds on the clock of `like`.
  std::int64_t wallSecondsOn(const icaltimetype& time, const icaltimetype& like);

  /// Whether `zone` stands for a zone of the system's tz database: libical must not convert times on it.
  static bool isSystemZone(const icaltimezone* zone);

private:
  struct Minute {
    std::array<int, 5> fields{};
    std::optional<Date> instant{};
  };

  std::unique_ptr<icu::TimeZone> deviceZone_;
  /// The two minutes resolved last: a series' starts and ends take turns.
  std::array<std::optional<Minute>, 2> minutes_{};
  std::size_t nextMinute_{};
};

/// The whole Unix seconds of `instant`, held to the years libical reads.
std::int64_t boundedUnixSeconds(Date instant);

/// libical reads years 0 to 3000; wall times made here stay inside them.
inline constexpr int lastUsableYear = 3000;

/// Seconds since 1970-01-01 00:00 on the time's own clock; midnight for a date.
std::int64_t wallSecondsOf(const icaltimetype& time);
/// `seconds` as a wall time shaped like `like` (same zone, date or date-time), within the years libical
/// accepts.
icaltimetype wallTimeAt(std::int64_t seconds, icaltimetype like);

/// Whether libical could read the time at all.
bool isUsableTime(const icaltimetype& time);

/// The value with the zone its TZID names: the file's VTIMEZONE as written first, then the system's tz
/// database. A zone that neither knows leaves the time floating, on the device's clock, which is the best
/// guess. Throws TimeZoneError when the database's file for the zone cannot be read.
icaltimetype zonedTime(icaltimetype value, icalproperty* property, icalcomponent* root);

} // namespace vantrel
