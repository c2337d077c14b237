#include "Tools/vantrel/LocalFormat.hpp"

#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <memory>
#include <unicode/dtitvfmt.h>
#include <unicode/dtptngen.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

namespace vantrel::cli {
namespace {

icu::UnicodeString patternFor(std::u16string_view skeleton, const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::DateTimePatternGenerator> generator(
      icu::DateTimePatternGenerator::createInstance(locale, status));
  if (U_FAILURE(status)) {
    return icu::UnicodeString(skeleton.data(), int32_t(skeleton.size()));
  }
  return generator->getBestPattern(icu::UnicodeString(skeleton.data(), int32_t(skeleton.size())), status);
}

std::string format(Date instant, const icu::UnicodeString& pattern, const icu::Locale& locale,
                   icu::TimeZone* zone) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat formatter(pattern, locale, status);
  formatter.adoptTimeZone(zone);
  icu::UnicodeString text;
  formatter.format(instant.icuMilliseconds(), text);
  std::string utf8;
  text.toUTF8String(utf8);
  return utf8;
}

std::string local(Date instant, std::u16string_view skeleton) {
  const auto locale = DeviceSettings::locale();
  return format(instant, patternFor(skeleton, locale), locale, DeviceSettings::timeZone().release());
}

std::string dayIn(const CalendarDate& day, std::u16string_view skeleton) {
  std::string pattern;
  patternFor(skeleton, DeviceSettings::locale()).toUTF8String(pattern);
  return day.formatted(pattern);
}

} // namespace

std::string LocalFormat::timeOfDay(Date instant) {
  return local(instant, u"jmm");
}

std::string LocalFormat::timeOfDay(std::string_view hoursAndMinutes) {
  const auto instant = TimeFormat::dateFromHHmm(hoursAndMinutes);
  return instant ? timeOfDay(*instant) : std::string(hoursAndMinutes);
}

std::string LocalFormat::timeRange(Date start, Date end) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::DateIntervalFormat> formatter(
      icu::DateIntervalFormat::createInstance(u"jmm", DeviceSettings::locale(), status));
  if (U_FAILURE(status)) {
    return timeOfDay(start) + " – " + timeOfDay(end);
  }
  formatter->adoptTimeZone(DeviceSettings::timeZone().release());
  const icu::DateInterval interval(start.icuMilliseconds(), end.icuMilliseconds());
  icu::UnicodeString text;
  icu::FieldPosition position;
  formatter->format(&interval, text, position, status);
  std::string utf8;
  text.toUTF8String(utf8);
  return utf8;
}

std::string LocalFormat::longDay(const CalendarDate& day) {
  return dayIn(day, u"yMMMMEEEEd");
}

std::string LocalFormat::shortDay(const CalendarDate& day, const CalendarDate& today) {
  return dayIn(day, day.year == today.year ? u"MMMEd" : u"yMMMEd");
}

std::string LocalFormat::instant(Date instant) {
  return local(instant, u"yMMMdjmm");
}

} // namespace vantrel::cli
