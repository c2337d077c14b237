#include "VantrelCore/Model/TimeFormat.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>

namespace vantrel {
namespace {

// 2026-03-07T00:00:00Z, in winter time in New York and Berlin.
constexpr double march7 = 1772841600.0;
constexpr double hour = 3600.0;
constexpr double minute = 60.0;

Date unix(double seconds) {
  return Date::fromUnixSeconds(seconds);
}

TEST(TimeFormat, ClockUsesDeviceZoneAndLocale) {
  const struct {
    const char* zone;
    const char* locale;
    double unixSeconds;
    const char* expected;
  } cases[] = {
      {"UTC", "en_US", march7 + 9 * hour + 5 * minute, "9:05 AM"},
      {"UTC", "en_US", march7 + 13 * hour + 30 * minute, "1:30 PM"},
      {"UTC", "en_US", march7, "12:00 AM"},
      {"UTC", "en_US", march7 + 12 * hour, "12:00 PM"},
      {"America/New_York", "en_US", march7 + 9 * hour + 5 * minute, "4:05 AM"},
      {"Asia/Kolkata", "en_US", march7 + 9 * hour + 5 * minute, "2:35 PM"},
      {"UTC", "ko_KR", march7 + 9 * hour + 5 * minute, "9:05 \uc624\uc804"},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone, c.locale);
    EXPECT_EQ(TimeFormat::clock(unix(c.unixSeconds)), c.expected) << c.zone << " " << c.locale;
  }
}

TEST(TimeFormat, ParsesWholeHHmmTextsOnTheFirstDayOf1970) {
  const struct {
    const char* zone;
    const char* text;
    std::optional<double> unixSeconds;
  } cases[] = {
      {"UTC", "09:30", 9 * hour + 30 * minute},
      {"UTC", "00:00", 0.0},
      {"UTC", "23:59", 23 * hour + 59 * minute},
      {"America/New_York", "09:30", 14 * hour + 30 * minute},
      {"Asia/Kolkata", "00:00", -5.5 * hour},
      {"UTC", "24:00", std::nullopt},
      {"UTC", "12:60", std::nullopt},
      {"UTC", "0930", std::nullopt},
      {"UTC", "09:30 ", std::nullopt},
      {"UTC", "09:30pm", std::nullopt},
      {"UTC", "9:5", std::nullopt},
      {"UTC", "", std::nullopt},
      {"UTC", "noon", std::nullopt},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone);
    const auto parsed = TimeFormat::dateFromHHmm(c.text);
    if (c.unixSeconds) {
      ASSERT_TRUE(parsed.has_value()) << c.zone << " '" << c.text << "'";
      EXPECT_EQ(parsed->unixSeconds(), *c.unixSeconds) << c.zone << " '" << c.text << "'";
    } else {
      EXPECT_FALSE(parsed.has_value()) << c.zone << " '" << c.text << "'";
    }
  }
}

TEST(TimeFormat, ClockFromHHmmReformatsOrReturnsTheInput) {
  const struct {
    const char* zone;
    const char* locale;
    const char* text;
    const char* expected;
  } cases[] = {
      {"UTC", "en_US", "14:05", "2:05 PM"},
      {"UTC", "en_US", "00:00", "12:00 AM"},
      {"America/New_York", "en_US", "07:45", "7:45 AM"},
      {"UTC", "ko_KR", "14:05", "2:05 \uc624\ud6c4"},
      {"UTC", "en_US", "25:00", "25:00"},
      {"UTC", "en_US", "after lunch", "after lunch"},
      {"UTC", "en_US", "", ""},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone, c.locale);
    EXPECT_EQ(TimeFormat::clockFromHHmm(c.text), c.expected) << c.zone << " " << c.locale << " " << c.text;
  }
}

TEST(TimeFormat, RangeFoldsOnlyASharedAmOrPm) {
  const struct {
    const char* locale;
    double start;
    double end;
    const char* first;
    const char* second;
  } cases[] = {
      {"en_US", 9 * hour, 11.5 * hour, "9:00", "11:30 AM"},
      {"en_US", 13 * hour, 15 * hour, "1:00", "3:00 PM"},
      {"en_US", 11 * hour, 13 * hour, "11:00 AM", "1:00 PM"},
      {"en_US", 23 * hour, 25 * hour, "11:00 PM", "1:00 AM"},
      {"en_US", 9 * hour, 9 * hour, "9:00", "9:00 AM"},
      // German keeps the symbols AM and PM, so it folds too.
      {"de_DE", 9 * hour, 11.5 * hour, "9:00", "11:30 AM"},
      {"en_GB", 9 * hour, 11.5 * hour, "9:00 am", "11:30 am"},
      {"ko_KR", 9 * hour, 11.5 * hour, "9:00 \uc624\uc804", "11:30 \uc624\uc804"},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned("UTC", c.locale);
    const auto [first, second] = TimeFormat::rangeParts(unix(march7 + c.start), unix(march7 + c.end));
    EXPECT_EQ(first, c.first) << c.locale << " " << c.start << "-" << c.end;
    EXPECT_EQ(second, c.second) << c.locale << " " << c.start << "-" << c.end;
  }
}

TEST(TimeFormat, RangeJoinsThePartsWithAnEnDash) {
  EXPECT_EQ(TimeFormat::range(unix(march7 + 9 * hour), unix(march7 + 11.5 * hour)), "9:00 \u2013 11:30 AM");
  EXPECT_EQ(TimeFormat::range(unix(march7 + 11 * hour), unix(march7 + 13 * hour)), "11:00 AM \u2013 1:00 PM");
  testing::ScopedDeviceSettings pinned("America/New_York");
  EXPECT_EQ(TimeFormat::range(unix(march7 + 14 * hour), unix(march7 + 18 * hour)), "9:00 AM \u2013 1:00 PM");
}

TEST(TimeFormat, DurationPrintsHoursAndMinutes) {
  const struct {
    double seconds;
    const char* expected;
  } cases[] = {
      {3540, "59m"},  {3600, "1h"},  {5400, "1h 30m"}, {-120, "0m"},           {30, "0m"},      {0, "0m"},
      {-0.0, "0m"},   {59.99, "0m"}, {60, "1m"},       {3599.9, "59m"},        {3660, "1h 1m"}, {7200, "2h"},
      {90000, "25h"}, {-3600, "0m"}, {-7259, "0m"},    {1e10, "2777777h 46m"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(TimeFormat::duration(c.seconds), c.expected) << c.seconds;
  }
}

TEST(TimeFormatDeathTest, DurationOfAnUnrepresentableLengthAborts) {
  for (const double seconds :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), 1e21, -1e21}) {
    EXPECT_DEATH(TimeFormat::duration(seconds), "TimeFormat::duration") << seconds;
  }
}

TEST(TimeFormat, TriageNoteStampsTitleAndTrimmedBody) {
  const Date at = unix(march7 + 9 * hour + 5 * minute);
  const struct {
    const char* zone;
    const char* title;
    std::optional<std::string_view> body;
    const char* expected;
  } cases[] = {
      {"UTC", "Call Ann", std::nullopt, "**2026-03-07 09:05 UTC:** (Call Ann)"},
      {"UTC", "Call Ann", "about the invoice", "**2026-03-07 09:05 UTC:** (Call Ann) about the invoice"},
      {"UTC", "Call Ann", " \t\nabout the\n invoice \r\n",
       "**2026-03-07 09:05 UTC:** (Call Ann) about the\n invoice"},
      {"UTC", "Call Ann", "", "**2026-03-07 09:05 UTC:** (Call Ann)"},
      {"UTC", "Call Ann", " \t\r\n\v\f", "**2026-03-07 09:05 UTC:** (Call Ann)"},
      {"UTC", "Call Ann", "\u00a0\u2028\u2029\u3000\u0085", "**2026-03-07 09:05 UTC:** (Call Ann)"},
      {"UTC", "Call Ann", "\u3000note\u00a0", "**2026-03-07 09:05 UTC:** (Call Ann) note"},
      {"UTC", " Call Ann ", "x", "**2026-03-07 09:05 UTC:** ( Call Ann ) x"},
      {"UTC", "", "\u200bzero width", "**2026-03-07 09:05 UTC:** () \u200bzero width"},
      {"America/New_York", "Call Ann", "later", "**2026-03-07 04:05 EST:** (Call Ann) later"},
      {"Asia/Kolkata", "Call Ann", std::nullopt, "**2026-03-07 14:35 GMT+5:30:** (Call Ann)"},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone);
    EXPECT_EQ(TimeFormat::inboxTriageNote(c.title, c.body, at), c.expected) << c.zone << " " << c.title;
  }
}

} // namespace
} // namespace vantrel
