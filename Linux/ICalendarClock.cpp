#include "Linux/ICalendarClock.hpp"

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>

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
  const icaltimetype utc = icaltime_convert_to_zone(time, icaltimezone_get_utc_timezone());
  return Date::fromUnixSeconds(double(wallSecondsOf(utc)));
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
    zone = icaltimezone_get_builtin_timezone(tzid);
  }
  if (zone == nullptr) {
    zone = icaltimezone_get_builtin_timezone_from_tzid(tzid);
  }
  value.zone = zone;
  return value;
}

} // namespace vantrel
