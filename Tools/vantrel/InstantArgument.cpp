#include "Tools/vantrel/InstantArgument.hpp"

#include "Tools/vantrel/ArgumentError.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unicode/gregocal.h>

namespace vantrel::cli {
namespace {

// The widest offset any zone has used; anything beyond it is a typing error, not a place.
constexpr int largestOffsetMinutes = 18 * 60;

/// Refuses the argument; a method of the parser below, so that every refusal names the argument.
class Refusal {
public:
  explicit Refusal(std::string_view argument) : argument_(argument) {}

  [[noreturn]] void operator()(std::string_view text,
                               std::string_view reason = "expected YYYY-MM-DDTHH:MM[:SS] with an optional Z "
                                                         "or ±HH:MM offset") const {
    throw ArgumentError(argument_, text, reason);
  }

private:
  std::string_view argument_;
};

/// Reads the text after the day from the front, one piece at a time.
class Cursor {
public:
  explicit Cursor(std::string_view rest) : rest_(rest) {}

  bool atEnd() const { return rest_.empty(); }
  bool take(char expected) {
    if (rest_.empty() || rest_.front() != expected) {
      return false;
    }
    rest_.remove_prefix(1);
    return true;
  }
  /// Exactly `count` ASCII digits.
  std::optional<int> number(std::size_t count) {
    if (rest_.size() < count) {
      return std::nullopt;
    }
    int value = 0;
    for (const char digit : rest_.substr(0, count)) {
      if (digit < '0' || digit > '9') {
        return std::nullopt;
      }
      value = value * 10 + (digit - '0');
    }
    rest_.remove_prefix(count);
    return value;
  }
  /// The digits after a decimal point, 1 to 9 of them, as a fraction of a second.
  std::optional<double> fraction() {
    std::int64_t value = 0;
    double scale = 1.0;
    std::size_t count = 0;
    while (count < rest_.size() && rest_[count] >= '0' && rest_[count] <= '9') {
      if (++count > 9) {
        return std::nullopt;
      }
      value = value * 10 + (rest_[count - 1] - '0');
      scale *= 10.0;
    }
    if (count == 0) {
      return std::nullopt;
    }
    rest_.remove_prefix(count);
    return double(value) / scale;
  }

private:
  std::string_view rest_;
};

} // namespace

Date parseInstantArgument(std::string_view text, std::string_view argument) {
  const Refusal reject(argument);
  constexpr std::size_t dayLength = std::string_view("YYYY-MM-DD").size();
  const auto day = CalendarDate::parse(text.substr(0, dayLength));
  Cursor cursor(text.size() > dayLength ? text.substr(dayLength) : std::string_view());
  if (!day || !(cursor.take('T') || cursor.take(' '))) {
    reject(text);
  }
  const auto hour = cursor.number(2);
  const auto minute = cursor.take(':') ? cursor.number(2) : std::nullopt;
  if (!hour || !minute || *hour > 23 || *minute > 59) {
    reject(text);
  }
  int second = 0;
  double fraction = 0.0;
  if (cursor.take(':')) {
    const auto seconds = cursor.number(2);
    const auto fractionOfSecond = cursor.take('.') ? cursor.fraction() : std::optional(0.0);
    if (!seconds || *seconds > 59 || !fractionOfSecond) {
      reject(text);
    }
    second = *seconds;
    fraction = *fractionOfSecond;
  }
  std::optional<int> offsetMinutes;
  if (cursor.take('Z')) {
    offsetMinutes = 0;
  } else if (const bool east = cursor.take('+'); east || cursor.take('-')) {
    const auto hours = cursor.number(2);
    cursor.take(':');
    const auto minutes = cursor.number(2);
    if (!hours || !minutes) {
      reject(text);
    }
    if (*minutes > 59 || *hours * 60 + *minutes > largestOffsetMinutes) {
      reject(text, "the offset from UTC is at most ±18:00, with minutes below 60");
    }
    offsetMinutes = (east ? 1 : -1) * (*hours * 60 + *minutes);
  }
  if (!cursor.atEnd()) {
    reject(text);
  }

  std::unique_ptr<icu::TimeZone> zone;
  if (offsetMinutes) {
    zone = TimeZoneDatabase::fixedOffset(*offsetMinutes * 60);
  } else {
    zone = DeviceSettings::timeZone();
  }
  icu::UnicodeString zoneID;
  zone->getID(zoneID);
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(zone.release(), status);
  calendar.clear();
  const auto year = std::int32_t(day->year), month = std::int32_t(day->month) - 1,
             date = std::int32_t(day->day);
  calendar.set(year, month, date, *hour, *minute, second);
  const UDate milliseconds = calendar.getTime(status);
  // The lenient calendar moves a day or a wall time that does not exist; reading the fields back tells.
  const bool sameDay = calendar.get(UCAL_YEAR, status) == year && calendar.get(UCAL_MONTH, status) == month &&
                       calendar.get(UCAL_DATE, status) == date;
  if (U_FAILURE(status) || !sameDay) {
    reject(text);
  }
  if (calendar.get(UCAL_HOUR_OF_DAY, status) != *hour || calendar.get(UCAL_MINUTE, status) != *minute) {
    std::string zoneName;
    zoneID.toUTF8String(zoneName);
    reject(text, "that wall time does not exist in " + zoneName + " (the clocks skip it)");
  }
  return Date::fromICUMilliseconds(milliseconds).adding(fraction);
}

} // namespace vantrel::cli
