#include "VantrelCore/Model/TimeFormat.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <tuple>

namespace vantrel {
namespace {

// 2026-03-07T00:00:00Z, in winter time in New York.
constexpr double march7 = 1772841600.0;
constexpr double hour = 3600.0;
constexpr auto unix = [](double seconds) { return Date::fromUnixSeconds(seconds); };

// clockFromHHmm parses and formats in the device zone, so a zone mix-up in either shows in its clock text.
TEST(TimeFormat, ReadsOnlyWholeHHmmTextsAsWallTimesOnTheFirstDayOf1970) {
  const std::tuple<const char*, const char*, std::optional<double>, const char*> cases[] = {
      {"UTC", "09:30", 9.5 * hour, "9:30 AM"},
      {"America/New_York", "09:30", 14.5 * hour, "9:30 AM"},
      {"Asia/Kolkata", "00:00", -5.5 * hour, "12:00 AM"},
      // Anything else is shown as the user wrote it.
      {"UTC", "24:00", std::nullopt, "24:00"},
      {"UTC", "12:60", std::nullopt, "12:60"},
      {"UTC", "0930", std::nullopt, "0930"},
      {"UTC", "09:30 ", std::nullopt, "09:30 "},
      {"UTC", "09:30pm", std::nullopt, "09:30pm"},
      {"UTC", "9:5", std::nullopt, "9:5"},
      {"UTC", "", std::nullopt, ""},
  };
  for (const auto& [zone, text, unixSeconds, clock] : cases) {
    testing::ScopedDeviceSettings pinned(zone);
    const auto parsed = TimeFormat::dateFromHHmm(text);
    EXPECT_EQ(parsed ? std::optional(parsed->unixSeconds()) : std::nullopt, unixSeconds)
        << zone << " " << text;
    EXPECT_EQ(TimeFormat::clockFromHHmm(text), clock) << zone << " '" << text << "'";
  }
}

TEST(TimeFormat, RangeFoldsOnlyASharedAmOrPm) {
  const std::tuple<const char*, double, double, const char*, const char*> cases[] = {
      {"en_US", 9, 11.5, "9:00", "11:30 AM"},
      {"en_US", 13, 15, "1:00", "3:00 PM"},
      {"en_US", 11, 13, "11:00 AM", "1:00 PM"},
      {"en_US", 23, 25, "11:00 PM", "1:00 AM"},
      // German keeps the symbols AM and PM, so it folds too; other spellings are left alone.
      {"de_DE", 9, 11.5, "9:00", "11:30 AM"},
      {"en_GB", 9, 11.5, "9:00 am", "11:30 am"},
      {"ko_KR", 9, 11.5, "9:00 \uc624\uc804", "11:30 \uc624\uc804"},
  };
  for (const auto& [locale, start, end, first, second] : cases) {
    testing::ScopedDeviceSettings pinned("UTC", locale);
    const auto parts = TimeFormat::rangeParts(unix(march7 + start * hour), unix(march7 + end * hour));
    EXPECT_EQ(parts, (std::pair<std::string, std::string>(first, second)))
        << locale << " " << start << "-" << end;
  }
  EXPECT_EQ(TimeFormat::range(unix(march7 + 9 * hour), unix(march7 + 11.5 * hour)), "9:00 \u2013 11:30 AM");
}

TEST(TimeFormat, DurationPrintsWholeHoursAndMinutes) {
  const std::pair<double, const char*> cases[] = {
      {59.99, "0m"},    {60, "1m"},     {3599.9, "59m"}, {3600, "1h"},  {3660, "1h 1m"},
      {5400, "1h 30m"}, {90000, "25h"}, {-120, "0m"},    {-7259, "0m"}, {1e10, "2777777h 46m"},
  };
  for (const auto& [seconds, expected] : cases) {
    EXPECT_EQ(TimeFormat::duration(seconds), expected) << seconds;
  }
}

TEST(TimeFormatDeathTest, DurationOfAnUnrepresentableLengthAborts) {
  for (const double seconds :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e21, -1e21}) {
    EXPECT_DEATH(TimeFormat::duration(seconds), "TimeFormat::duration") << seconds;
  }
}

TEST(TimeFormat, TriageNoteStampsTitleAndTrimmedBody) {
  const std::tuple<const char*, const char*, std::optional<std::string_view>, const char*> cases[] = {
      {"UTC", "Call Ann", std::nullopt, "**2026-03-07 09:05 UTC:** (Call Ann)"},
      {"UTC", "Call Ann", " \t\nabout the\n invoice \r\n",
       "**2026-03-07 09:05 UTC:** (Call Ann) about the\n invoice"},
      {"UTC", "Call Ann", " \t\r\n\v\f\u00a0\u2028\u2029\u3000\u0085",
       "**2026-03-07 09:05 UTC:** (Call Ann)"},
      {"UTC", " Call Ann ", "\u3000note\u00a0", "**2026-03-07 09:05 UTC:** ( Call Ann ) note"},
      {"UTC", "", "\u200bzero width", "**2026-03-07 09:05 UTC:** () \u200bzero width"},
      {"America/New_York", "Call Ann", "later", "**2026-03-07 04:05 EST:** (Call Ann) later"},
      {"Asia/Kolkata", "Call Ann", std::nullopt, "**2026-03-07 14:35 GMT+5:30:** (Call Ann)"},
  };
  for (const auto& [zone, title, body, expected] : cases) {
    testing::ScopedDeviceSettings pinned(zone);
    EXPECT_EQ(TimeFormat::inboxTriageNote(title, body, unix(march7 + 9 * hour + 5 * 60)), expected)
        << zone << " " << title;
  }
}

} // namespace
} // namespace vantrel
