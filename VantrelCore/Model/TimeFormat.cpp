#include "VantrelCore/Model/TimeFormat.hpp"

#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/ProgramError.hpp"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unicode/smpdtfmt.h>

namespace vantrel {
namespace {

// Device locale and zone. The calendar keyword keeps it Gregorian where the locale defaults to another
// calendar (th_TH, fa_IR), so years read the same everywhere and a parsed clock time lands on 1970-01-01.
std::unique_ptr<icu::SimpleDateFormat> deviceFormatter(const char16_t* pattern) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale = DeviceSettings::locale();
  locale.setKeywordValue("calendar", "gregorian", status);
  auto formatter = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(pattern), locale, status);
  if (U_FAILURE(status)) {
    programError(std::string("cannot create a date formatter: ") + u_errorName(status));
  }
  formatter->adoptTimeZone(DeviceSettings::timeZone().release());
  return formatter;
}

std::string format(const char16_t* pattern, Date instant) {
  icu::UnicodeString text;
  deviceFormatter(pattern)->format(instant.icuMilliseconds(), text);
  std::string utf8;
  text.toUTF8String(utf8);
  return utf8;
}

std::string_view meridiemSuffix(std::string_view clock) {
  for (const std::string_view suffix : {" AM", " PM"}) {
    if (clock.ends_with(suffix)) {
      return suffix;
    }
  }
  return {};
}

} // namespace

std::string TimeFormat::clock(Date instant) {
  return format(u"h:mm a", instant);
}

std::optional<Date> TimeFormat::dateFromHHmm(std::string_view text) {
  const auto formatter = deviceFormatter(u"HH:mm");
  formatter->setLenient(false);
  const auto input = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())));
  icu::ParsePosition position(0);
  const UDate millis = formatter->parse(input, position);
  // ICU reports success for a time followed by anything else; the whole text has to be the time.
  if (position.getErrorIndex() >= 0 || position.getIndex() == 0 || position.getIndex() != input.length()) {
    return std::nullopt;
  }
  return Date::fromICUMilliseconds(millis);
}

std::string TimeFormat::clockFromHHmm(std::string_view text) {
  if (const auto date = dateFromHHmm(text)) {
    return clock(*date);
  }
  return std::string(text);
}

std::pair<std::string, std::string> TimeFormat::rangeParts(Date start, Date end) {
  std::string first = clock(start);
  std::string second = clock(end);
  const std::string_view suffix = meridiemSuffix(first);
  if (!suffix.empty() && suffix == meridiemSuffix(second)) {
    first.resize(first.size() - suffix.size());
    const auto begin = first.find_first_not_of(" \t");
    first = begin == std::string::npos ? std::string()
                                       : first.substr(begin, first.find_last_not_of(" \t") - begin + 1);
  }
  return {std::move(first), std::move(second)};
}

std::string TimeFormat::range(Date start, Date end) {
  const auto [first, second] = rangeParts(start, end);
  return first + " \u2013 " + second;
}

std::string TimeFormat::duration(double seconds) {
  const double minutes = seconds / 60.0;
  if (!std::isfinite(minutes) || minutes < -0x1p63 || minutes >= 0x1p63) {
    programError("TimeFormat::duration: " + std::to_string(seconds) +
                 " seconds is not a representable length");
  }
  const auto wholeMinutes = static_cast<std::int64_t>(minutes);
  const std::int64_t clamped = wholeMinutes > 0 ? wholeMinutes : 0;
  const std::int64_t hours = clamped / 60;
  const std::int64_t rest = clamped % 60;
  if (wholeMinutes > 59) {
    return rest == 0 ? std::to_string(hours) + "h"
                     : std::to_string(hours) + "h " + std::to_string(rest) + "m";
  }
  return std::to_string(rest) + "m";
}

std::string TimeFormat::inboxTriageNote(std::string_view title, std::optional<std::string_view> body,
                                        Date at) {
  std::string note = "**" + format(u"yyyy-MM-dd HH:mm zzz", at) + ":** (" + std::string(title) + ")";
  if (body) {
    if (const std::string_view text = trimmingWhiteSpaceAndNewlines(*body); !text.empty()) {
      note += ' ';
      note += text;
    }
  }
  return note;
}

std::string TimeFormat::iso8601(Date instant) {
  UErrorCode status = U_ZERO_ERROR;
  // en_US_POSIX: a machine format must not pick up another locale's digits or calendar.
  icu::SimpleDateFormat formatter(icu::UnicodeString(u"yyyy-MM-dd'T'HH:mm:ssxxx"), icu::Locale("en_US_POSIX"),
                                  status);
  formatter.adoptTimeZone(DeviceSettings::timeZone().release());
  icu::UnicodeString text;
  formatter.format(instant.icuMilliseconds(), text);
  std::string utf8;
  text.toUTF8String(utf8);
  return utf8;
}

} // namespace vantrel
