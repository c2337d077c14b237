#include "Linux/ICalendarClock.hpp"

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"
#include "VantrelCore/Platform/TimeZoneError.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <mutex>

namespace vantrel {
namespace {

constexpr std::int64_t secondsPerDay = 86400;

constexpr std::int64_t daysSince1970(int year, unsigned month, unsigned day) {
  return std::chrono::sys_days(std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day})
      .time_since_epoch()
      .count();
}

constexpr std::int64_t earliestWallSeconds = daysSince1970(0, 1, 1) * secondsPerDay;
constexpr std::int64_t latestWallSeconds = daysSince1970(lastUsableYear + 1, 1, 1) * secondsPerDay - 1;

std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) {
  const std::int64_t quotient = value / divisor;
  return quotient * divisor > value ? quotient - 1 : quotient;
}

/// The zones of the system's tz database that TZIDs name. libical carries a stand-in zone on the times
/// it reads and steps; the stand-in keeps wall time as it is (offset zero), so libical's own comparisons
/// of two such times stay on their wall clock, and every conversion to an instant goes through the
/// system's zone here. libical's built-in zones are never used: their rules disagree with the system's.
class SystemZones {
public:
  /// Never destroyed: times holding a stand-in may be read until the process ends, and libical's own
  /// state may already be gone at exit.
  static SystemZones& shared() {
    static auto* zones = new SystemZones;
    return *zones;
  }

  /// The stand-in for the zone `tzid` names, or null when the database has no such zone. A prefixed
  /// TZID ("/citadel.org/20190101_1/Europe/Berlin") names the zone at its end.
  icaltimezone* standIn(std::string_view tzid) {
    const std::lock_guard lock(mutex_);
    if (const auto known = byName_.find(tzid); known != byName_.end()) {
      return known->second.standIn;
    }
    std::unique_ptr<icu::TimeZone> zone;
    for (std::string_view name = tzid; !name.empty() && !zone;) {
      if (name.front() != '/') {
        try {
          zone = TimeZoneDatabase::system().zone(name);
        } catch (const TimeZoneError& error) {
          if (error.kind() != TimeZoneError::Kind::unknown) {
            throw;
          }
        }
      }
      const auto slash = name.find('/', 1);
      name = slash == std::string_view::npos ? std::string_view() : name.substr(slash + 1);
    }
    icaltimezone* standIn = zone ? makeStandIn(tzid) : nullptr;
    if (standIn != nullptr) {
      zoneByStandIn_.emplace(standIn, zone.get());
    }
    byName_.emplace(std::string(tzid), Entry{.zone = std::move(zone), .standIn = standIn});
    return standIn;
  }

  /// The system zone behind `standIn`, or null when it is not a stand-in of this registry.
  const icu::TimeZone* zoneOf(const icaltimezone* standIn) {
    const std::lock_guard lock(mutex_);
    const auto found = zoneByStandIn_.find(standIn);
    return found == zoneByStandIn_.end() ? nullptr : found->second;
  }

private:
  struct Entry {
    std::unique_ptr<icu::TimeZone> zone;
    icaltimezone* standIn{};
  };

  static icaltimezone* makeStandIn(std::string_view tzid) {
    icalcomponent* zone = icalcomponent_new(ICAL_VTIMEZONE_COMPONENT);
    icalcomponent_add_property(zone, icalproperty_new_tzid(std::string(tzid).c_str()));
    icalcomponent* standard = icalcomponent_new(ICAL_XSTANDARD_COMPONENT);
    icalcomponent_add_property(standard, icalproperty_new_dtstart(icaltime_from_string("19700101T000000")));
    icalcomponent_add_property(standard, icalproperty_new_tzoffsetfrom(0));
    icalcomponent_add_property(standard, icalproperty_new_tzoffsetto(0));
    icalcomponent_add_component(zone, standard);
    icaltimezone* standIn = icaltimezone_new();
    icaltimezone_set_component(standIn, zone);
    return standIn;
  }

  std::mutex mutex_;
  std::map<std::string, Entry, std::less<>> byName_;
  std::map<const icaltimezone*, const icu::TimeZone*> zoneByStandIn_;
};

/// Seconds of the zone's offset at `seconds`, read as an instant or (`wall`) as a wall time.
std::int64_t icuOffsetSeconds(const icu::TimeZone& zone, std::int64_t seconds, bool wall) {
  std::int32_t raw = 0;
  std::int32_t daylight = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(double(seconds) * 1000, wall, raw, daylight, status);
  return U_FAILURE(status) ? 0 : (raw + daylight) / 1000;
}

} // namespace

ICalendarClock::ICalendarClock() : deviceZone_(DeviceSettings::timeZone()) {}

std::optional<Date> ICalendarClock::instantOf(const icaltimetype& time) {
  if (time.is_date != 0 || time.zone == nullptr) {
    // Floating times and dates go through the device zone with ICU: libical's idea of local time is the
    // process's TZ, which is not the zone the planner shows.
    const std::array<int, 5> fields{time.year, time.month, time.day, time.is_date != 0 ? 0 : time.hour,
                                    time.is_date != 0 ? 0 : time.minute};
    auto known = std::find_if(minutes_.begin(), minutes_.end(),
                              [&](const auto& minute) { return minute && minute->fields == fields; });
    if (known == minutes_.end()) {
      known = minutes_.begin() + std::ptrdiff_t(nextMinute_);
      nextMinute_ = (nextMinute_ + 1) % minutes_.size();
      *known =
          Minute{.fields = fields,
                 .instant = CalendarDate{time.year, time.month, time.day}.localTime(fields[3], fields[4])};
    }
    const auto& instant = (*known)->instant;
    if (!instant) {
      return std::nullopt;
    }
    return instant->adding(time.is_date != 0 ? 0 : time.second);
  }
  if (const icu::TimeZone* zone = SystemZones::shared().zoneOf(time.zone)) {
    const std::int64_t wall = wallSecondsOf(time);
    return Date::fromUnixSeconds(double(wall - icuOffsetSeconds(*zone, wall, true)));
  }
  const icaltimetype utc = icaltime_convert_to_zone(time, icaltimezone_get_utc_timezone());
  return Date::fromUnixSeconds(double(wallSecondsOf(utc)));
}

std::int64_t ICalendarClock::wallSecondsOn(const icaltimetype& time, const icaltimetype& like) {
  if (time.zone == like.zone || time.is_date != 0) {
    return wallSecondsOf(time);
  }
  const auto instant = instantOf(time);
  if (!instant) {
    return wallSecondsOf(time);
  }
  return boundedUnixSeconds(*instant) + offsetAt(*instant, like);
}

bool ICalendarClock::isSystemZone(const icaltimezone* zone) {
  return zone != nullptr && SystemZones::shared().zoneOf(zone) != nullptr;
}

std::int64_t ICalendarClock::offsetAt(Date instant, const icaltimetype& like) const {
  const std::int64_t seconds = boundedUnixSeconds(instant);
  icaltimezone* utcZone = icaltimezone_get_utc_timezone();
  if (like.is_date != 0 || like.zone == nullptr) {
    std::int32_t raw = 0;
    std::int32_t daylight = 0;
    UErrorCode status = U_ZERO_ERROR;
    deviceZone_->getOffset(double(seconds) * 1000, false, raw, daylight, status);
    return U_FAILURE(status) ? 0 : (raw + daylight) / 1000;
  }
  if (like.zone == utcZone) {
    return 0;
  }
  if (const icu::TimeZone* zone = SystemZones::shared().zoneOf(like.zone)) {
    return icuOffsetSeconds(*zone, seconds, false);
  }
  icaltimetype utc = wallTimeAt(seconds, icaltime_null_time());
  utc.zone = utcZone;
  return wallSecondsOf(icaltime_convert_to_zone(utc, const_cast<icaltimezone*>(like.zone))) - seconds;
}

std::int64_t boundedUnixSeconds(Date instant) {
  const double seconds = std::floor(instant.unixSeconds());
  if (std::isnan(seconds)) {
    return 0;
  }
  return std::int64_t(std::clamp(seconds, double(earliestWallSeconds), double(latestWallSeconds)));
}

std::int64_t wallSecondsOf(const icaltimetype& time) {
  const std::int64_t days = daysSince1970(time.year, unsigned(time.month), unsigned(time.day));
  if (time.is_date != 0) {
    return days * secondsPerDay;
  }
  return days * secondsPerDay + time.hour * 3600 + time.minute * 60 + time.second;
}

icaltimetype wallTimeAt(std::int64_t seconds, icaltimetype like) {
  seconds = std::clamp(seconds, earliestWallSeconds, latestWallSeconds);
  const std::int64_t days = floorDivide(seconds, secondsPerDay);
  const std::int64_t rest = seconds - days * secondsPerDay;
  const std::chrono::year_month_day day{std::chrono::sys_days{std::chrono::days{days}}};
  like.year = int(day.year());
  like.month = int(unsigned(day.month()));
  like.day = int(unsigned(day.day()));
  if (like.is_date != 0) {
    like.hour = like.minute = like.second = 0;
  } else {
    like.hour = int(rest / 3600);
    like.minute = int(rest / 60 % 60);
    like.second = int(rest % 60);
  }
  return like;
}

bool isUsableTime(const icaltimetype& time) {
  if (icaltime_is_null_time(time) || !icaltime_is_valid_time(time) || time.month < 1 || time.month > 12 ||
      time.day < 1 || time.day > icaltime_days_in_month(time.month, time.year)) {
    return false;
  }
  return time.is_date != 0 || (time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60 &&
                               time.second >= 0 && time.second <= 60);
}

icaltimetype zonedTime(icaltimetype value, icalproperty* property, icalcomponent* root) {
  if (value.is_date != 0) {
    value.zone = nullptr;
    return value;
  }
  if (icaltime_is_utc(value)) {
    return value;
  }
  value.zone = nullptr;
  icalparameter* parameter = icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER);
  const char* tzid = parameter != nullptr ? icalparameter_get_tzid(parameter) : nullptr;
  if (tzid == nullptr) {
    return value;
  }
  icaltimezone* zone = icalcomponent_get_timezone(root, tzid);
  if (zone == nullptr) {
    zone = SystemZones::shared().standIn(tzid);
  }
  value.zone = zone;
  return value;
}

} // namespace vantrel
