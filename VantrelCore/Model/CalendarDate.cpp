#include "VantrelCore/Model/CalendarDate.hpp"

#include "VantrelCore/Model/CalendarDayReader.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/ProgramError.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cinttypes>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>

namespace vantrel {
namespace {

// An optional sign, then ASCII digits and nothing else: "+7" is 7, " 7" and "7x" are not numbers.
// from_chars only knows '-', so a '+' is taken off first.
std::optional<std::int64_t> parseInteger(std::string_view piece) {
  if (!piece.empty() && piece.front() == '+') {
    piece.remove_prefix(1);
    if (!piece.empty() && piece.front() == '-') {
      return std::nullopt;
    }
  }
  std::int64_t value = 0;
  const char* const end = piece.data() + piece.size();
  const auto [stop, error] = std::from_chars(piece.data(), end, value);
  if (error != std::errc() || stop != end) {
    return std::nullopt;
  }
  return value;
}

// The rule stored days are read by: '-'-separated pieces, empty ones dropped, exactly three signed integers,
// no range check. A file written by any version or device keeps loading, whatever day it holds.
std::optional<CalendarDate> parsePermissively(std::string_view text) {
  std::array<std::int64_t, 3> fields{};
  std::size_t count = 0;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = std::min(text.find('-', start), text.size());
    const std::string_view piece = text.substr(start, end - start);
    if (!piece.empty()) {
      const auto value = parseInteger(piece);
      if (count == fields.size() || !value) {
        return std::nullopt;
      }
      fields[count++] = *value;
    }
    start = end + 1;
  }
  if (count != fields.size()) {
    return std::nullopt;
  }
  return CalendarDate{fields[0], fields[1], fields[2]};
}

// Proleptic Gregorian, as YYYY-MM-DD texts count.
std::int64_t daysInMonth(std::int64_t year, std::int64_t month) {
  constexpr std::array<std::int64_t, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : days[std::size_t(month - 1)];
}

// ICU keeps julian day numbers in 32-bit integers and wraps silently about 5.8 million years from 1970, so
// a day that far out is refused before the calendar sees it.
bool calendarCanHold(const CalendarDate& date) {
  constexpr double limit = 5'000'000.0;
  const double years = double(date.year);
  const double monthYears = double(date.month) / 12.0;
  const double dayYears = double(date.day) / 365.25;
  return std::abs(years) < limit && std::abs(monthYears) < limit && std::abs(dayYears) < limit &&
         std::abs(years + monthYears + dayYears) < limit;
}

// The instant of `hour`:`minute` on the day; out-of-range months and days are normalised by the lenient
// calendar.
std::optional<UDate> instantOf(icu::Calendar& calendar, const CalendarDate& date, int hour, int minute = 0) {
  if (!calendarCanHold(date)) {
    return std::nullopt;
  }
  calendar.clear();
  calendar.set(UCAL_EXTENDED_YEAR, std::int32_t(date.year));
  calendar.set(UCAL_MONTH, std::int32_t(date.month - 1));
  calendar.set(UCAL_DATE, std::int32_t(date.day));
  calendar.set(UCAL_HOUR_OF_DAY, hour);
  calendar.set(UCAL_MINUTE, minute);
  UErrorCode status = U_ZERO_ERROR;
  const UDate millis = calendar.getTime(status);
  if (U_FAILURE(status)) {
    return std::nullopt;
  }
  return millis;
}

} // namespace

std::optional<CalendarDate> CalendarDate::parse(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') {
    return std::nullopt;
  }
  const auto field = [&](std::size_t offset, std::size_t length) -> std::optional<std::int64_t> {
    std::int64_t value = 0;
    for (const char digit : text.substr(offset, length)) {
      if (digit < '0' || digit > '9') {
        return std::nullopt;
      }
      value = value * 10 + (digit - '0');
    }
    return value;
  };
  const auto year = field(0, 4);
  const auto month = field(5, 2);
  const auto day = field(8, 2);
  if (!year || !month || !day || *year < 1 || *month < 1 || *month > 12 || *day < 1 ||
      *day > daysInMonth(*year, *month)) {
    return std::nullopt;
  }
  return CalendarDate{*year, *month, *day};
}

CalendarDate CalendarDate::decode(std::string_view text) {
  if (const auto date = parsePermissively(text)) {
    return *date;
  }
  throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                      "CalendarDate expected `yyyy-mm-dd`, got " + std::string(text));
}

CalendarDate CalendarDate::today(const icu::TimeZone& zone, const Clock& clock) {
  return CalendarDayReader(zone).dayOf(clock.now());
}

CalendarDate CalendarDate::localDayOf(Date instant) {
  return CalendarDayReader(DeviceSettings::timeZone()).dayOf(instant);
}

CalendarDate CalendarDate::utcDayOf(Date instant) {
  return CalendarDayReader(TimeZoneDatabase::utc()).dayOf(instant);
}

Date CalendarDate::noonUTC() const {
  const auto calendar = makeGregorianCalendar(TimeZoneDatabase::utc());
  if (const auto millis = instantOf(*calendar, *this, 12)) {
    return Date::fromICUMilliseconds(*millis);
  }
  // Noon is documented never to fail, and a value type has no injected clock to ask, so the machine's
  // clock answers.
  return SystemClock().now();
}

Date CalendarDate::localNoon() const {
  const auto calendar = makeGregorianCalendar(DeviceSettings::timeZone());
  if (const auto millis = instantOf(*calendar, *this, 12)) {
    return Date::fromICUMilliseconds(*millis);
  }
  return noonUTC();
}

std::optional<Date> CalendarDate::localTime(int hour, int minute) const {
  const auto calendar = makeGregorianCalendar(DeviceSettings::timeZone());
  if (const auto millis = instantOf(*calendar, *this, hour, minute)) {
    return Date::fromICUMilliseconds(*millis);
  }
  return std::nullopt;
}

std::string CalendarDate::formatted(std::string_view pattern) const {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale = DeviceSettings::locale();
  // The calendar keyword makes both the calendar and the month and weekday names Gregorian.
  locale.setKeywordValue("calendar", "gregorian", status);
  const auto text =
      icu::UnicodeString::fromUTF8(icu::StringPiece(pattern.data(), std::int32_t(pattern.size())));
  icu::SimpleDateFormat formatter(text, locale, status);
  if (U_FAILURE(status)) {
    return {};
  }
  formatter.adoptTimeZone(TimeZoneDatabase::utc().release());
  icu::UnicodeString result;
  formatter.format(noonUTC().icuMilliseconds(), result);
  std::string utf8;
  result.toUTF8String(utf8);
  return utf8;
}

CalendarDate CalendarDate::adding(int days) const {
  const auto calendar = makeGregorianCalendar(DeviceSettings::timeZone());
  const auto midnight = instantOf(*calendar, *this, 0);
  if (!midnight) {
    programError("CalendarDate::adding: the calendar cannot form " + description());
  }
  UErrorCode status = U_ZERO_ERROR;
  calendar->setTime(*midnight, status);
  // A day component, not 24-hour steps: midnight plus 24 hours is still the same day when clocks fall back.
  calendar->add(UCAL_DATE, days, status);
  const CalendarDate result{calendar->get(UCAL_EXTENDED_YEAR, status), calendar->get(UCAL_MONTH, status) + 1,
                            calendar->get(UCAL_DATE, status)};
  if (U_FAILURE(status) || !calendarCanHold(result)) {
    programError("CalendarDate::adding: " + description() + " plus " + std::to_string(days) +
                 " days is outside the calendar");
  }
  return result;
}

int CalendarDate::daysSince(const CalendarDate& other) const {
  const auto calendar = makeGregorianCalendar(TimeZoneDatabase::utc());
  const auto julianDay = [&](const CalendarDate& date) -> std::optional<std::int64_t> {
    const auto midnight = instantOf(*calendar, date, 0);
    if (!midnight) {
      programError("CalendarDate::daysSince: the calendar cannot form " + date.description());
    }
    UErrorCode status = U_ZERO_ERROR;
    calendar->setTime(*midnight, status);
    const std::int32_t julian = calendar->get(UCAL_JULIAN_DAY, status);
    return U_FAILURE(status) ? std::nullopt : std::optional<std::int64_t>(julian);
  };
  const auto to = julianDay(*this);
  const auto from = julianDay(other);
  if (!to || !from) {
    return 0;
  }
  const std::int64_t difference = *to - *from;
  if (difference < INT_MIN || difference > INT_MAX) {
    programError("CalendarDate::daysSince: " + other.description() + " to " + description() +
                 " overflows int");
  }
  return int(difference);
}

std::string CalendarDate::description() const {
  std::array<char, 64> buffer{};
  const int length =
      std::snprintf(buffer.data(), buffer.size(), "%04" PRId64 "-%02" PRId64 "-%02" PRId64, year, month, day);
  return std::string(buffer.data(), std::size_t(length));
}

std::ostream& operator<<(std::ostream& stream, const CalendarDate& date) {
  return stream << date.description();
}

} // namespace vantrel

std::size_t std::hash<vantrel::CalendarDate>::operator()(const vantrel::CalendarDate& date) const noexcept {
  std::size_t seed = 0;
  for (const std::int64_t field : {date.year, date.month, date.day}) {
    seed ^= std::hash<std::int64_t>{}(field) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
  }
  return seed;
}
