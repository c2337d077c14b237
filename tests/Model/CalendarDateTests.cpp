#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"
#include "tests/Support/HostileInputs.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <unicode/timezone.h>
#include <vector>

namespace vantrel {
namespace {

// 2026-03-07T00:00:00Z, a Saturday.
constexpr double march7 = 1772841600.0;
constexpr double hour = 3600.0;
constexpr auto unix = [](double seconds) { return Date::fromUnixSeconds(seconds); };

// What a person types, or anything else: parse answers a day that reads back as the same text and that
// the calendar knows (a day forth and back returns to it), or nothing; it never throws.
TEST(CalendarDate, ParsesOnlyRealDaysWrittenYYYYMMDDWhateverItIsGiven) {
  const auto accepts = [](const std::string& text) {
    std::optional<CalendarDate> parsed;
    EXPECT_NO_THROW(parsed = CalendarDate::parse(text)) << text;
    if (parsed) {
      EXPECT_EQ(parsed->description(), text);
      EXPECT_EQ(parsed->adding(1).adding(-1), *parsed) << text << " is no real day";
    }
    return parsed.has_value();
  };
  int accepted = 0;
  for (const int year : {0, 1, 1900, 2000, 2026, 2028, 9999, 10000}) {
    for (int month = 0; month <= 13; ++month) {
      for (const int day : {0, 1, 28, 29, 30, 31, 32}) {
        char text[32];
        std::snprintf(text, sizeof text, "%04d-%02d-%02d", year, month, day);
        accepted += accepts(text) ? 1 : 0;
      }
    }
  }
  // In each of the 6 real years the 1st and 28th of 12 months, the 29th and 30th of the 11 besides
  // February, the 31st of 7; and February 29 of the leap years 2000 and 2028.
  EXPECT_EQ(accepted, 6 * (12 + 12 + 11 + 11 + 7) + 2);

  std::vector<std::string> refused{"2026-3-7",      "+2026-03-07",    "-001-03-07",
                                   "2026--03-07",   "2026/03/07",     " 2026-03-07",
                                   "2026-03-07-01", "２０２６-03-07", ""};
  refused.push_back(std::string(100000, '9') + "-01-01");
  refused.push_back(std::string("2026-03-0\0", 10));
  for (const auto& text : refused) {
    EXPECT_FALSE(accepts(text)) << '"' << text << '"';
  }
  for (const auto& text : testing::hostileVariants("2024-02-29", 7, 300)) {
    accepts(text);
  }
}

// Stored days are read as any version or device wrote them: three signed integers, empty pieces dropped,
// no range check.
TEST(CalendarDate, DecodeKeepsEveryStoredFormAndReportsTheOffendingText) {
  const std::pair<const char*, CalendarDate> kept[] = {
      {"2026-3-7", {2026, 3, 7}},    {"-2026--03-07-", {2026, 3, 7}},
      {"+2026-+3-+7", {2026, 3, 7}}, {"2026-13-45", {2026, 13, 45}},
      {"0-0-0", {0, 0, 0}},          {"9223372036854775807-1-1", {INT64_MAX, 1, 1}},
  };
  for (const auto& [text, expected] : kept) {
    EXPECT_EQ(CalendarDate::decode(text), expected) << text;
  }
  for (const char* text : {"2026-03", "2026-03-07-01", "2026/03/07", " 2026-03-07", "2026-03-7x",
                           "+-2026-03-07", "++2026-03-07", "9223372036854775808-1-1"}) {
    try {
      CalendarDate::decode(text);
      ADD_FAILURE() << "decoded " << text;
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
      EXPECT_EQ(error.debugDescription(), "CalendarDate expected `yyyy-mm-dd`, got " + std::string(text));
      EXPECT_EQ(error.codingPath(), "");
    }
  }
}

TEST(CalendarDate, DescriptionPadsLikePrintf) {
  const std::pair<CalendarDate, const char*> cases[] = {
      {{5, 1, 2}, "0005-01-02"},        {{12345, 10, 31}, "12345-10-31"}, {{-1, 3, 7}, "-001-03-07"},
      {{2026, -1, 100}, "2026--1-100"}, {{0, 0, 0}, "0000-00-00"},        {{2026, 3, 7}, "2026-03-07"},
  };
  for (const auto& [date, text] : cases) {
    EXPECT_EQ(date.description(), text);
  }
}

TEST(CalendarDate, OrdersAndHashesYearThenMonthThenDay) {
  EXPECT_LT((CalendarDate{2025, 12, 31}), (CalendarDate{2026, 1, 1}));
  EXPECT_LT((CalendarDate{2026, 1, 31}), (CalendarDate{2026, 2, 1}));
  // The same numbers in other fields must hash differently.
  const std::hash<CalendarDate> hash;
  EXPECT_NE(hash({2026, 3, 7}), hash({2026, 7, 3}));
  EXPECT_NE(hash({2026, 3, 7}), hash({7, 3, 2026}));
}

TEST(CalendarDate, AddingAndDaysSinceCountWholeCalendarDays) {
  const std::tuple<const char*, CalendarDate, int, CalendarDate> cases[] = {
      {"UTC", {2024, 3, 1}, -1, {2024, 2, 29}},
      {"UTC", {2000, 1, 1}, 36525, {2100, 1, 1}},
      {"UTC", {0, 12, 31}, 1, {1, 1, 1}},
      {"UTC", {2026, 13, 45}, 0, {2027, 2, 14}},
      // Midnight plus or minus 24 hours lands on the wrong day next to these clock changes; daysSince
      // counts in UTC, so they must not move it either.
      {"America/New_York", {2026, 3, 9}, -1, {2026, 3, 8}},
      {"America/New_York", {2026, 11, 1}, 1, {2026, 11, 2}},
      {"Europe/Berlin", {2026, 10, 25}, 1, {2026, 10, 26}},
      // Clocks jumped from 00:00 to 01:00 on 2018-11-04, so that day had no midnight.
      {"America/Sao_Paulo", {2018, 11, 4}, 1, {2018, 11, 5}},
  };
  for (const auto& [zone, from, days, expected] : cases) {
    testing::ScopedDeviceSettings pinned(zone);
    EXPECT_EQ(from.adding(days), expected) << zone << ": " << from << " + " << days;
    EXPECT_EQ(expected.daysSince(from), days) << zone << ": " << expected << " since " << from;
    EXPECT_EQ(from.daysSince(expected), -days) << zone << ": " << from << " since " << expected;
  }
}

TEST(CalendarDate, LocalDayFollowsTheDeviceZoneAndUtcDayDoesNot) {
  const std::tuple<const char*, double, CalendarDate, CalendarDate> cases[] = {
      {"America/New_York", march7 + 4 * hour, {2026, 3, 6}, {2026, 3, 7}},
      {"America/New_York", march7 + 5 * hour, {2026, 3, 7}, {2026, 3, 7}},
      {"Asia/Kolkata", march7 - 5.5 * hour - 1, {2026, 3, 6}, {2026, 3, 6}},
      {"Asia/Kolkata", march7 - 5.5 * hour, {2026, 3, 7}, {2026, 3, 6}},
      {"Pacific/Tongatapu", march7 - 13 * hour, {2026, 3, 7}, {2026, 3, 6}},
  };
  for (const auto& [zone, unixSeconds, local, utc] : cases) {
    testing::ScopedDeviceSettings pinned(zone);
    EXPECT_EQ(CalendarDate::localDayOf(unix(unixSeconds)), local) << zone << " " << unixSeconds;
    EXPECT_EQ(CalendarDate::utcDayOf(unix(unixSeconds)), utc) << zone << " " << unixSeconds;
  }
}

TEST(CalendarDate, TodayReadsTheClockInTheGivenZoneNotTheDevices) {
  testing::ScopedDeviceSettings pinned("America/Los_Angeles");
  const auto tokyo = TimeZoneDatabase::system().zone("Asia/Tokyo");
  EXPECT_EQ(CalendarDate::today(*tokyo, FixedClock(unix(march7 + 23.5 * hour))), (CalendarDate{2026, 3, 8}));
}

TEST(CalendarDate, NoonIsTwelveOClockInItsZoneAndMapsBackToItsDay) {
  const CalendarDate day{2026, 3, 7};
  const std::pair<const char*, double> localNoons[] = {
      {"Europe/Berlin", 11 * hour}, {"Asia/Kolkata", 6.5 * hour}, {"Pacific/Tongatapu", -1 * hour}};
  for (const auto& [zone, offset] : localNoons) {
    testing::ScopedDeviceSettings pinned(zone);
    EXPECT_EQ(day.localNoon(), unix(march7 + offset)) << zone;
    EXPECT_EQ(day.noonUTC(), unix(march7 + 12 * hour)) << zone;
  }
  // Extended years: 0 is 1 BC and -1 is 2 BC, and both must come back unchanged.
  testing::ScopedDeviceSettings pinned("Australia/Sydney");
  const CalendarDate realDays[] = {{2024, 2, 29}, {1582, 10, 15}, {0, 6, 15}, {-1, 12, 31}, {9999, 12, 31}};
  for (const CalendarDate real : realDays) {
    EXPECT_EQ(CalendarDate::utcDayOf(real.noonUTC()), real) << real;
    EXPECT_EQ(CalendarDate::localDayOf(real.localNoon()), real) << real;
  }
  EXPECT_EQ((CalendarDate{2026, 2, 29}.noonUTC()), (CalendarDate{2026, 3, 1}.noonUTC()));
}

TEST(CalendarDate, NoonFallsBackToNowForADayTheCalendarCannotHold) {
  const CalendarDate farOut{10'000'000'000, 1, 1};
  const Date before = SystemClock().now();
  const Date noons[] = {farOut.noonUTC(), farOut.localNoon()};
  const Date after = SystemClock().now();
  for (const Date noon : noons) {
    EXPECT_TRUE(before <= noon && noon <= after);
  }
}

TEST(CalendarDate, FormatsNoonUtcInTheGregorianCalendar) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"Pacific/Tongatapu", "en_US", "EEEE d MMMM yyyy HH:mm zzz", "Saturday 7 March 2026 12:00 UTC"},
      {"Europe/Berlin", "de_DE", "EEEE, d. MMMM", "Samstag, 7. M\u00e4rz"},
      {"UTC", "th_TH", "yyyy-MM-dd", "2026-03-07"},
      {"UTC", "fa_IR", "yyyy-MM-dd", "\u06f2\u06f0\u06f2\u06f6-\u06f0\u06f3-\u06f0\u06f7"},
  };
  for (const auto& [zone, locale, pattern, expected] : cases) {
    testing::ScopedDeviceSettings pinned(zone, locale);
    EXPECT_EQ((CalendarDate{2026, 3, 7}.formatted(pattern)), expected) << locale << " " << pattern;
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
