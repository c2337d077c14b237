#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <unicode/timezone.h>
#include <unordered_set>
#include <vector>

namespace vantrel {
namespace {

// 2026-03-07T00:00:00Z, a Saturday.
constexpr double march7 = 1772841600.0;
constexpr double hour = 3600.0;

Date unix(double seconds) {
  return Date::fromUnixSeconds(seconds);
}

TEST(CalendarDate, ParsesThreeSignedIntegerPieces) {
  const struct {
    const char* text;
    CalendarDate expected;
  } cases[] = {
      {"2026-03-07", {2026, 3, 7}},
      {"2026-3-7", {2026, 3, 7}},
      {"2026--03-07", {2026, 3, 7}},
      {"-2026-03-07-", {2026, 3, 7}},
      {"2026-13-45", {2026, 13, 45}},
      {"0-0-0", {0, 0, 0}},
      {"+2026-+3-+7", {2026, 3, 7}},
      {"0002026-003-007", {2026, 3, 7}},
      {"9223372036854775807-1-1", {INT64_MAX, 1, 1}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CalendarDate::parse(c.text), c.expected) << c.text;
  }
}

TEST(CalendarDate, RejectsAnythingButThreeIntegers) {
  for (const char* text : {"", "-", "---", "2026", "2026-03", "2026-03-07-01", "abcd-ef-gh", "2026/03/07",
                           " 2026-03-07", "2026-03-07 ", "2026-03-7x", "2026-0x3-07", "+-2026-03-07",
                           "++2026-03-07", "2026-+-03", "2026-03-07\n", "9223372036854775808-1-1",
                           "\xef\xbc\x92\xef\xbc\x90\xef\xbc\x92\xef\xbc\x96-03-07"}) {
    EXPECT_EQ(CalendarDate::parse(text), std::nullopt) << '"' << text << '"';
  }
}

TEST(CalendarDate, DescriptionPadsLikePrintf) {
  const struct {
    CalendarDate date;
    const char* text;
  } cases[] = {
      {{2026, 3, 7}, "2026-03-07"},   {{5, 1, 2}, "0005-01-02"},  {{12345, 10, 31}, "12345-10-31"},
      {{2026, 13, 45}, "2026-13-45"}, {{-1, 3, 7}, "-001-03-07"}, {{2026, -1, 100}, "2026--1-100"},
      {{0, 0, 0}, "0000-00-00"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.date.description(), c.text);
    EXPECT_EQ(c.date.asString(), c.text);
  }
  EXPECT_EQ(CalendarDate::parse(CalendarDate{2026, 3, 7}.description()), (CalendarDate{2026, 3, 7}));
}

TEST(CalendarDate, DecodeReportsTheOffendingTextAsCorruptedData) {
  EXPECT_EQ(CalendarDate::decode("2026-03-07"), (CalendarDate{2026, 3, 7}));
  for (const char* text : {"2026/03/07", "", "2026-03"}) {
    try {
      CalendarDate::decode(text);
      ADD_FAILURE() << "decoded '" << text << "'";
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
      EXPECT_EQ(error.debugDescription(), std::string("CalendarDate expected `yyyy-mm-dd`, got ") + text);
      EXPECT_EQ(error.codingPath(), "");
    }
  }
}

TEST(CalendarDate, OrdersByYearThenMonthThenDay) {
  const struct {
    CalendarDate earlier;
    CalendarDate later;
  } cases[] = {
      {{2025, 12, 31}, {2026, 1, 1}}, {{2026, 1, 31}, {2026, 2, 1}}, {{2026, 3, 6}, {2026, 3, 7}},
      {{-1, 12, 31}, {0, 1, 1}},      {{2026, 13, 1}, {2027, 1, 1}}, {{2026, 2, 45}, {2026, 3, 1}},
  };
  for (const auto& c : cases) {
    EXPECT_LT(c.earlier, c.later) << c.earlier << " vs " << c.later;
    EXPECT_GT(c.later, c.earlier) << c.earlier << " vs " << c.later;
    EXPECT_NE(c.earlier, c.later);
  }
  const CalendarDate day{2026, 3, 7};
  const CalendarDate same{2026, 3, 7};
  EXPECT_FALSE(day < same);
  EXPECT_FALSE(day > same);
  EXPECT_EQ(day, same);
}

TEST(CalendarDate, HashesAllThreeFieldsInOrder) {
  const std::hash<CalendarDate> hash;
  EXPECT_EQ(hash({2026, 3, 7}), hash({2026, 3, 7}));
  const std::unordered_set<CalendarDate> days{{2026, 3, 7}, {2026, 7, 3}, {3, 2026, 7},
                                              {7, 3, 2026}, {2026, 3, 8}, {2026, 3, 7}};
  EXPECT_EQ(days.size(), 5u);
  EXPECT_NE(hash({2026, 3, 7}), hash({2026, 7, 3}));
  EXPECT_NE(hash({2026, 3, 7}), hash({7, 3, 2026}));
}

TEST(CalendarDate, AddsCalendarDays) {
  const struct {
    CalendarDate from;
    int days;
    CalendarDate expected;
  } cases[] = {
      {{2026, 12, 31}, 1, {2027, 1, 1}},  {{2024, 3, 1}, -1, {2024, 2, 29}},
      {{2023, 3, 1}, -1, {2023, 2, 28}},  {{2024, 2, 28}, 1, {2024, 2, 29}},
      {{2026, 3, 7}, 0, {2026, 3, 7}},    {{2026, 1, 1}, 365, {2027, 1, 1}},
      {{2024, 1, 1}, 366, {2025, 1, 1}},  {{2026, 1, 1}, -1, {2025, 12, 31}},
      {{2000, 2, 28}, 1, {2000, 2, 29}},  {{2100, 2, 28}, 1, {2100, 3, 1}},
      {{2026, 13, 45}, 0, {2027, 2, 14}}, {{2026, 3, 0}, 0, {2026, 2, 28}},
      {{2026, 2, 29}, 1, {2026, 3, 2}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.from.adding(c.days), c.expected) << c.from << " + " << c.days;
  }
}

TEST(CalendarDate, AddingKeepsWholeDaysAcrossDaylightSavingChanges) {
  const struct {
    const char* zone;
    CalendarDate from;
    int days;
    CalendarDate expected;
  } cases[] = {
      {"America/New_York", {2026, 3, 7}, 1, {2026, 3, 8}},
      {"America/New_York", {2026, 3, 8}, 1, {2026, 3, 9}},
      {"America/New_York", {2026, 3, 9}, -1, {2026, 3, 8}},
      {"America/New_York", {2026, 11, 1}, 1, {2026, 11, 2}},
      {"America/New_York", {2026, 11, 2}, -1, {2026, 11, 1}},
      {"America/New_York", {2026, 10, 1}, 60, {2026, 11, 30}},
      {"Europe/Berlin", {2026, 3, 29}, 1, {2026, 3, 30}},
      {"Europe/Berlin", {2026, 10, 25}, 1, {2026, 10, 26}},
      {"Europe/Berlin", {2026, 10, 26}, -1, {2026, 10, 25}},
      {"Europe/Berlin", {2026, 1, 1}, 365, {2027, 1, 1}},
      // Clocks jumped from 00:00 to 01:00 here, so the day had no midnight.
      {"America/Sao_Paulo", {2018, 11, 3}, 1, {2018, 11, 4}},
      {"America/Sao_Paulo", {2018, 11, 4}, 1, {2018, 11, 5}},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone);
    EXPECT_EQ(c.from.adding(c.days), c.expected) << c.zone << ": " << c.from << " + " << c.days;
  }
}

TEST(CalendarDate, DaysSinceCountsCalendarDaysBothWays) {
  const struct {
    CalendarDate later;
    CalendarDate earlier;
    int days;
  } cases[] = {
      {{2026, 1, 10}, {2026, 1, 1}, 9}, {{2024, 3, 1}, {2024, 2, 28}, 2},
      {{2023, 3, 1}, {2023, 2, 28}, 1}, {{2027, 1, 1}, {2026, 12, 31}, 1},
      {{2026, 3, 7}, {2026, 3, 7}, 0},  {{2100, 1, 1}, {2000, 1, 1}, 36525},
      {{2026, 3, 9}, {2026, 3, 7}, 2},  {{2026, 13, 1}, {2027, 1, 1}, 0},
      {{1, 1, 1}, {0, 12, 31}, 1},      {{2026, 11, 2}, {2026, 11, 1}, 1},
  };
  // The count is made in UTC, so a device zone with a DST change in between must not matter.
  testing::ScopedDeviceSettings pinned("America/New_York");
  for (const auto& c : cases) {
    EXPECT_EQ(c.later.daysSince(c.earlier), c.days) << c.later << " since " << c.earlier;
    EXPECT_EQ(c.earlier.daysSince(c.later), -c.days) << c.earlier << " since " << c.later;
  }
}

TEST(CalendarDate, LocalDayFollowsTheDeviceZoneAndUtcDayDoesNot) {
  const struct {
    const char* zone;
    double unixSeconds;
    CalendarDate local;
    CalendarDate utc;
  } cases[] = {
      {"UTC", march7 - 1, {2026, 3, 6}, {2026, 3, 6}},
      {"UTC", march7, {2026, 3, 7}, {2026, 3, 7}},
      {"America/New_York", march7 + 23.5 * hour, {2026, 3, 7}, {2026, 3, 7}},
      {"America/New_York", march7 + 4 * hour, {2026, 3, 6}, {2026, 3, 7}},
      {"America/New_York", march7 + 5 * hour, {2026, 3, 7}, {2026, 3, 7}},
      {"Asia/Kolkata", march7 + 23.5 * hour, {2026, 3, 8}, {2026, 3, 7}},
      {"Asia/Kolkata", march7 - 5.5 * hour - 1, {2026, 3, 6}, {2026, 3, 6}},
      {"Asia/Kolkata", march7 - 5.5 * hour, {2026, 3, 7}, {2026, 3, 6}},
      {"Pacific/Tongatapu", march7 - 13 * hour, {2026, 3, 7}, {2026, 3, 6}},
      {"Pacific/Pago_Pago", march7 + 10 * hour, {2026, 3, 6}, {2026, 3, 7}},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone);
    EXPECT_EQ(CalendarDate::localDayOf(unix(c.unixSeconds)), c.local) << c.zone << " " << c.unixSeconds;
    EXPECT_EQ(CalendarDate::utcDayOf(unix(c.unixSeconds)), c.utc) << c.zone << " " << c.unixSeconds;
  }
}

TEST(CalendarDate, TodayReadsTheClockInTheGivenZone) {
  const FixedClock clock(unix(march7 + 23.5 * hour));
  const struct {
    const char* zone;
    CalendarDate expected;
  } cases[] = {{"UTC", {2026, 3, 7}}, {"Asia/Tokyo", {2026, 3, 8}}, {"America/Los_Angeles", {2026, 3, 7}}};
  testing::ScopedDeviceSettings pinned("Pacific/Tongatapu");
  for (const auto& c : cases) {
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(c.zone));
    EXPECT_EQ(CalendarDate::today(*zone, clock), c.expected) << c.zone;
  }
}

TEST(CalendarDate, NoonIsTwelveOClockInItsZone) {
  const CalendarDate day{2026, 3, 7};
  EXPECT_EQ(day.noonUTC(), unix(march7 + 12 * hour));
  const struct {
    const char* zone;
    double localNoon;
  } cases[] = {{"UTC", march7 + 12 * hour},
               {"Europe/Berlin", march7 + 11 * hour},
               {"America/New_York", march7 + 17 * hour},
               {"Asia/Kolkata", march7 + 6.5 * hour},
               {"Pacific/Tongatapu", march7 - 1 * hour}};
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone);
    EXPECT_EQ(day.localNoon(), unix(c.localNoon)) << c.zone;
    EXPECT_EQ(day.noonUTC(), unix(march7 + 12 * hour)) << c.zone;
    EXPECT_EQ(CalendarDate::localDayOf(day.localNoon()), day) << c.zone;
  }
  EXPECT_EQ((CalendarDate{2026, 2, 29}.noonUTC()), (CalendarDate{2026, 3, 1}.noonUTC()));
}

TEST(CalendarDate, RealDaysSurviveTheTripThroughNoon) {
  testing::ScopedDeviceSettings pinned("Australia/Sydney");
  for (const CalendarDate day : std::vector<CalendarDate>{{2026, 3, 7},
                                                          {2024, 2, 29},
                                                          {1970, 1, 1},
                                                          {1582, 10, 15},
                                                          {1, 1, 1},
                                                          {0, 6, 15},
                                                          {-1, 12, 31},
                                                          {9999, 12, 31}}) {
    EXPECT_EQ(CalendarDate::utcDayOf(day.noonUTC()), day) << day;
    EXPECT_EQ(CalendarDate::localDayOf(day.localNoon()), day) << day;
  }
}

TEST(CalendarDate, NoonFallsBackToNowForADayTheCalendarCannotHold) {
  const CalendarDate farOut{10'000'000'000, 1, 1};
  const SystemClock clock;
  const Date before = clock.now();
  const Date noon = farOut.noonUTC();
  const Date localNoon = farOut.localNoon();
  const Date after = clock.now();
  EXPECT_GE(noon, before);
  EXPECT_LE(noon, after);
  EXPECT_GE(localNoon, before);
  EXPECT_LE(localNoon, after);
}

TEST(CalendarDate, FormatsNoonUtcInTheGregorianCalendar) {
  const CalendarDate day{2026, 3, 7};
  const struct {
    const char* zone;
    const char* locale;
    const char* pattern;
    const char* expected;
  } cases[] = {
      {"Pacific/Pago_Pago", "en_US", "EEEE", "Saturday"},
      {"Pacific/Tongatapu", "en_US", "EEEE", "Saturday"},
      {"Pacific/Tongatapu", "en_US", "EEEE d MMMM yyyy HH:mm zzz", "Saturday 7 March 2026 12:00 UTC"},
      {"Europe/Berlin", "de_DE", "EEEE, d. MMMM", "Samstag, 7. M\u00e4rz"},
      {"UTC", "th_TH", "yyyy-MM-dd", "2026-03-07"},
      {"UTC", "fa_IR", "yyyy-MM-dd", "\u06f2\u06f0\u06f2\u06f6-\u06f0\u06f3-\u06f0\u06f7"},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings pinned(c.zone, c.locale);
    EXPECT_EQ(day.formatted(c.pattern), c.expected) << c.zone << " " << c.locale << " " << c.pattern;
  }
}

TEST(CalendarDateDeathTest, ArithmeticOnADayTheCalendarCannotHoldAborts) {
  const CalendarDate farOut{10'000'000'000, 1, 1};
  EXPECT_DEATH(farOut.adding(1), "adding: the calendar cannot form 10000000000-01-01");
  EXPECT_DEATH((CalendarDate{2026, 3, 7}.daysSince(farOut)),
               "daysSince: the calendar cannot form 10000000000-01-01");
  EXPECT_DEATH((CalendarDate{4'999'999, 1, 1}.adding(1'000'000)), "outside the calendar");
}

} // namespace
} // namespace vantrel
